// What a PKCS #11 call costs through the tracing module and through OpenSC's pkcs11-spy, both over
// one SoftHSM and writing to files of one directory. P is ours over theirs, from medians of nine.
#include <qorvs/cryptoki.h>

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

static constexpr char kSoftHsm[] = "/usr/lib/softhsm/libsofthsm2.so";
static constexpr char kSpy[] = "pkcs11-spy.so";  // lies where the loader looks by itself
static constexpr int kRounds = 9;
static constexpr int kCallsPerRound = 2000;

static void Require(bool isGood, const char* what) {
    if (!isGood) {
        throw std::runtime_error(what);
    }
}

// The modules and a session with one public object, made once for all benchmarks.
class CModules {
public:
    static CModules& Instance() {
        static CModules modules;
        return modules;
    }

    CK_FUNCTION_LIST* softHsm;
    CK_FUNCTION_LIST* ours;
    CK_FUNCTION_LIST* spy;  // null when it is not installed
    CK_SESSION_HANDLE session = 0;
    CK_OBJECT_HANDLE object = 0;

private:
    CModules();
    ~CModules() { fs::remove_all(folder); }

    static CK_FUNCTION_LIST* Load(const std::string& path);
    void WriteSettings() const;
    void OpenSession();

    fs::path folder;
};

CModules::CModules() {
    std::string name = fs::temp_directory_path() / "pkcs11-bench.XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "mkdtemp");
    folder = name;
    WriteSettings();
    softHsm = Load(kSoftHsm);
    fs::path program = fs::read_symlink("/proc/self/exe");
    ours = Load(program.parent_path().parent_path() / "lib/qorvs-pkcs11-trace.so");
    spy = Load(kSpy);
    Require(softHsm != nullptr && ours != nullptr, "SoftHSM or the tracing module is missing");
    Require(softHsm->C_Initialize(nullptr) == CKR_OK, "C_Initialize");
    OpenSession();
}

void CModules::WriteSettings() const {
    fs::create_directory(folder / "tokens");
    std::ofstream(folder / "softhsm2.conf")
        << "directories.tokendir = " << (folder / "tokens").string() << "\n";
    std::ofstream(folder / "qorvs.conf")
        << "SecuritySuite {\n    EnableTrace = 1\n    Trace = " << folder.string() << "\n}\n";
    setenv("SOFTHSM2_CONF", (folder / "softhsm2.conf").c_str(), 1);
    setenv("QORVS_CONFFILE", (folder / "qorvs.conf").c_str(), 1);
    setenv("QORVS_PKCS11_MODULE", kSoftHsm, 1);
    setenv("PKCS11SPY", kSoftHsm, 1);
    setenv("PKCS11SPY_OUTPUT", (folder / "spy.log").c_str(), 1);
}

CK_FUNCTION_LIST* CModules::Load(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return nullptr;
    }
    auto get = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
    CK_FUNCTION_LIST* list = nullptr;
    Require(get != nullptr && get(&list) == CKR_OK, path.c_str());
    return list;
}

void CModules::OpenSession() {
    CK_SLOT_ID slot;
    CK_ULONG count = 1;
    CK_UTF8CHAR pin[] = "benchmark";
    CK_UTF8CHAR label[33] = "Benchmark                       ";
    Require(softHsm->C_GetSlotList(CK_FALSE, &slot, &count) == CKR_OK, "C_GetSlotList");
    Require(softHsm->C_InitToken(slot, pin, sizeof pin - 1, label) == CKR_OK, "C_InitToken");
    Require(softHsm->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr,
                                   &session) == CKR_OK,
            "C_OpenSession");
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_BBOOL isPrivate = CK_FALSE;
    CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                                 {CKA_PRIVATE, &isPrivate, sizeof isPrivate},
                                 {CKA_LABEL, label, 9},
                                 {CKA_VALUE, label, 32}};
    Require(softHsm->C_CreateObject(session, attributes, 4, &object) == CKR_OK, "C_CreateObject");
}

using CCall = void (*)(CK_FUNCTION_LIST* module, const CModules& modules);

static void GetSessionInfo(CK_FUNCTION_LIST* module, const CModules& modules) {
    CK_SESSION_INFO info;
    module->C_GetSessionInfo(modules.session, &info);
}

static void GetAttributeValue(CK_FUNCTION_LIST* module, const CModules& modules) {
    CK_OBJECT_CLASS objectClass;
    char label[32];
    char value[32];
    CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                                 {CKA_LABEL, label, sizeof label},
                                 {CKA_VALUE, value, sizeof value}};
    module->C_GetAttributeValue(modules.session, modules.object, attributes, 3);
}

static void GenerateRandom(CK_FUNCTION_LIST* module, const CModules& modules) {
    CK_BYTE random[32];
    module->C_GenerateRandom(modules.session, random, sizeof random);
}

static void Digest(CK_FUNCTION_LIST* module, const CModules& modules) {
    CK_MECHANISM mechanism = {CKM_SHA256, nullptr, 0};
    CK_BYTE digest[32] = {};
    CK_ULONG length = sizeof digest;
    module->C_DigestInit(modules.session, &mechanism);
    module->C_Digest(modules.session, digest, sizeof digest, digest, &length);
}

static double Nanoseconds(CCall call, CK_FUNCTION_LIST* module, const CModules& modules) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCallsPerRound; i++) {
        call(module, modules);
    }
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / kCallsPerRound;
}

static double Median(std::vector<double> times) {
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    return times[kRounds / 2];
}

static void CompareModules(benchmark::State& state, CCall call, const CModules& modules) {
    std::vector<double> direct;
    std::vector<double> ours;
    std::vector<double> spy;
    for (auto _ : state) {
        direct.push_back(Nanoseconds(call, modules.softHsm, modules));
        ours.push_back(Nanoseconds(call, modules.ours, modules));
        spy.push_back(modules.spy != nullptr ? Nanoseconds(call, modules.spy, modules) : 0);
        state.SetIterationTime(ours.back() * kCallsPerRound * 1e-9);
    }
    state.counters["direct_ns"] = Median(direct);
    state.counters["ours_ns"] = Median(ours);
    if (modules.spy != nullptr) {
        state.counters["spy_ns"] = Median(spy);
        state.counters["P"] = Median(ours) / Median(spy);
    }
}

static void Compare(benchmark::State& state, CCall call) {
    try {
        CompareModules(state, call, CModules::Instance());
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
    }
}

#define COMPARE(call) BENCHMARK_CAPTURE(Compare, call, call)->UseManualTime()->Iterations(kRounds)

COMPARE(GetSessionInfo);
COMPARE(GetAttributeValue);
COMPARE(GenerateRandom);
COMPARE(Digest);
