// The trace log beside spdlog, and beside a floor that does only what a line cannot do without: a
// lock, two clocks, the text, one write.

#include "qorvs/trace.h"
#include "qorvs/trace_structures.h"
#include "trace_home.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#ifdef QORVS_HAVE_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

CTraceHome home("log");

void EnsureOpen() {
    const char on = 1;
    UpdateLogsTrackingState(&on);
    TraceString0("ready");
}

// ---- disabled

void SetDisabled(const benchmark::State&) {
    EnsureOpen();
    const char off = 0;
    UpdateLogsTrackingState(&off);
}
void SetEnabled(const benchmark::State&) { EnsureOpen(); }

void BM_DisabledEnter(benchmark::State& state) {
    for (auto _ : state) {
        TraceEnter("C_Login");
    }
}
BENCHMARK(BM_DisabledEnter)->Setup(SetDisabled)->ThreadRange(1, 2)->UseRealTime();

void BM_DisabledString(benchmark::State& state) {
    for (auto _ : state) {
        TraceString("slot %d, session %s, flags %x", 4, "abc", 12);
    }
}
BENCHMARK(BM_DisabledString)->Setup(SetDisabled);

// ---- enabled

void BM_EnterLeave(benchmark::State& state) {
    for (auto _ : state) {
        TraceEnter("C_GetSessionInfo");
        TraceLeave("C_GetSessionInfo");
    }
}
BENCHMARK(BM_EnterLeave)->Setup(SetEnabled)->ThreadRange(1, 4)->UseRealTime();

void BM_String(benchmark::State& state) {
    for (auto _ : state) {
        TraceString("slot %d, session %s, flags %x", 4, "abc", 12);
    }
}
BENCHMARK(BM_String)->Setup(SetEnabled)->ThreadRange(1, 4)->UseRealTime();

/** The floor's line: the same bytes, without anything that could be left out. */
class CFloor {
public:
    explicit CFloor(const char* name)
        : file(open(home.File(name).c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666)) {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }

    void Named(const char* verb, const char* name, const char* end) {
        pthread_mutex_lock(&mutex);
        char* at = Prefix(line);
        at = stpcpy(stpcpy(stpcpy(at, verb), name), end);
        Write(at);
        pthread_mutex_unlock(&mutex);
    }

    __attribute__((format(printf, 2, 3))) void String(const char* format, ...) {
        pthread_mutex_lock(&mutex);
        char* at = Prefix(line);
        va_list arguments;
        va_start(arguments, format);
        at += vsnprintf(at, sizeof(line) - 64, format, arguments);
        va_end(arguments);
        *at++ = '\n';
        Write(at);
        pthread_mutex_unlock(&mutex);
    }

private:
    static char* Put(char* at, unsigned value, int digits) {
        for (int i = digits; i-- > 0; value /= 10) {
            at[i] = static_cast<char>('0' + value % 10);
        }
        return at + digits;
    }

    char* Prefix(char* at) {
        const time_t now = time(nullptr);
        if (now != second) {
            tm local{};
            localtime_r(&now, &local);
            strftime(date, sizeof(date), "%m-%d_%H:%M:%S:", &local);
            second = now;
        }
        timespec monotonic{};
        clock_gettime(CLOCK_MONOTONIC, &monotonic);
        memcpy(at, date, 15);
        at = Put(at + 15, static_cast<unsigned>(monotonic.tv_nsec / 1000), 6);
        *at++ = ' ';
        for (int shift = 28; shift >= 0; shift -= 4) {
            *at++ = "0123456789ABCDEF"[thread >> shift & 15];
        }
        return static_cast<char*>(memcpy(at, ".. ", 4)) + 3;
    }

    void Write(const char* end) {
        if (write(file, line, static_cast<size_t>(end - line)) < 0) {
            abort();
        }
    }

    pthread_mutex_t mutex;
    int file;
    time_t second = 0;
    unsigned thread = static_cast<unsigned>(syscall(SYS_gettid));
    char date[32];
    char line[1024];
};

CFloor floorLog("floor.log");

void BM_EnterLeaveFloor(benchmark::State& state) {
    for (auto _ : state) {
        floorLog.Named("Entering ", "C_GetSessionInfo", ".\n");
        floorLog.Named("Leaving ", "C_GetSessionInfo", ".\n\n");
    }
}
BENCHMARK(BM_EnterLeaveFloor)->ThreadRange(1, 4)->UseRealTime();

void BM_StringFloor(benchmark::State& state) {
    for (auto _ : state) {
        floorLog.String("slot %d, session %s, flags %x", 4, "abc", 12);
    }
}
BENCHMARK(BM_StringFloor)->ThreadRange(1, 4)->UseRealTime();

/** Twelve attributes as a private key's template has them. */
class CTemplate {
public:
    CTemplate() {
        for (const CK_ATTRIBUTE_TYPE type :
             {CKA_TOKEN, CKA_PRIVATE, CKA_SENSITIVE, CKA_DECRYPT, CKA_SIGN, CKA_UNWRAP}) {
            attributes.push_back({type, &yes, sizeof(yes)});
        }
        attributes.push_back({CKA_CLASS, &objectClass, sizeof(objectClass)});
        attributes.push_back({CKA_KEY_TYPE, &keyType, sizeof(keyType)});
        attributes.push_back({CKA_LABEL, label, sizeof(label) - 1});
        attributes.push_back({CKA_ID, id, sizeof(id)});
        attributes.push_back({CKA_MODULUS_BITS, &bits, sizeof(bits)});
        attributes.push_back({CKA_VALUE, id, sizeof(id)});
    }

    std::vector<CK_ATTRIBUTE> attributes;

private:
    CK_BBOOL yes = CK_TRUE;
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_KEY_TYPE keyType = CKK_RSA;
    CK_ULONG bits = 2048;
    char label[17] = "signature key 01";
    unsigned char id[20] = {1, 2, 3};
};

CTemplate keyTemplate;

void BM_Template(benchmark::State& state) {
    for (auto _ : state) {
        TraceTemplate(keyTemplate.attributes.data(), keyTemplate.attributes.size(), 0);
    }
}
BENCHMARK(BM_Template)->Setup(SetEnabled);

#ifdef QORVS_HAVE_SPDLOG

spdlog::logger& Peer() {
    static const auto logger = [] {
        auto made = spdlog::basic_logger_mt("peer", home.File("spdlog.log"));
        made->flush_on(spdlog::level::trace);
        spdlog::set_default_logger(made);
        return made;
    }();
    return *logger;
}

void SetPeerOff(const benchmark::State&) { Peer().set_level(spdlog::level::off); }
void SetPeerOn(const benchmark::State&) { Peer().set_level(spdlog::level::trace); }

void BM_SpdlogDisabledEnter(benchmark::State& state) {
    for (auto _ : state) {
        spdlog::info("Entering {}.", "C_Login");
    }
}
BENCHMARK(BM_SpdlogDisabledEnter)->Setup(SetPeerOff)->ThreadRange(1, 2)->UseRealTime();

void BM_SpdlogDisabledString(benchmark::State& state) {
    for (auto _ : state) {
        spdlog::info("slot {}, session {}, flags {:x}", 4, "abc", 12);
    }
}
BENCHMARK(BM_SpdlogDisabledString)->Setup(SetPeerOff);

void BM_SpdlogEnterLeave(benchmark::State& state) {
    for (auto _ : state) {
        spdlog::info("Entering {}.", "C_GetSessionInfo");
        spdlog::info("Leaving {}.", "C_GetSessionInfo");
    }
}
BENCHMARK(BM_SpdlogEnterLeave)->Setup(SetPeerOn)->ThreadRange(1, 4)->UseRealTime();

void BM_SpdlogString(benchmark::State& state) {
    for (auto _ : state) {
        spdlog::info("slot {}, session {}, flags {:x}", 4, "abc", 12);
    }
}
BENCHMARK(BM_SpdlogString)->Setup(SetPeerOn)->ThreadRange(1, 4)->UseRealTime();

/** The template's text, byte for byte but for the record's own head, in one record. */
void BM_SpdlogTemplate(benchmark::State& state) {
    constexpr const char* kPrefix = "11-21_16:30:57:123700 00001267.. ";
    for (auto _ : state) {
        spdlog::info(
            "\t{}\tLen={}\t{} ({})\n{}\t{}\tLen={}\t{} ({})\n{}\t{}\tLen={}\t{} ({})\n"
            "{}\t{}\tLen={}\t{} ({})\n{}\t{}\tLen={}\t{} ({})\n{}\t{}\tLen={}\t{} ({})\n"
            "{}\t{}\tLen={}\t{}\n{}\t{}\tLen={}\t{}\n{}\t{}\tLen={}\t\"{}\"\n{}\t{}\tLen={}\t{}\n"
            "{}\t{}\tLen={}\t{} (0x{:08X})\n{}\t{}\tLen={}\t<undisclosed, length is {}>",
            "CKA_TOKEN", 1, "TRUE", 1, kPrefix, "CKA_PRIVATE", 1, "TRUE", 1, kPrefix,
            "CKA_SENSITIVE", 1, "TRUE", 1, kPrefix, "CKA_DECRYPT", 1, "TRUE", 1, kPrefix,
            "CKA_SIGN", 1, "TRUE", 1, kPrefix, "CKA_UNWRAP", 1, "TRUE", 1, kPrefix, "CKA_CLASS", 8,
            "CKO_PRIVATE_KEY", kPrefix, "CKA_KEY_TYPE", 8, "CKK_RSA", kPrefix, "CKA_LABEL", 16,
            "signature key 01", kPrefix, "CKA_ID", 20, "0102030000000000000000000000000000000000",
            kPrefix, "CKA_MODULUS_BITS", 8, 2048, 2048, kPrefix, "CKA_VALUE", 20, 20);
    }
}
BENCHMARK(BM_SpdlogTemplate)->Setup(SetPeerOn);

#endif

}  // namespace
