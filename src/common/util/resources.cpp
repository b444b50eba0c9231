#include "util/resources.h"

#include "system/product.h"
#include "util/file_handle.h"
#include <qorvs/trace_scope.h>

#include <miniz.h>

#include <atomic>
#include <new>
#include <string>

namespace {

// A byte of deflated data stands for 1032 at most: 258 bytes for every two bits (RFC 1951, 3.2.5).
constexpr uint64_t kLargestRatio = 1032;

// Up to here a size is taken as declared, so that a damaged member has its stated size.
constexpr uint64_t kHarmlessSize = 1 << 20;

enum class EExtraction { kNoArchive, kNotFound, kNoStatistics, kNotUnpacked, kDone };

/** Whether no member of this archive can have these sizes: reserving memory for it would hurt. */
bool IsAbsurd(const mz_zip_archive_file_stat& statistics, uint64_t archiveSize) {
    return statistics.m_comp_size > archiveSize ||
           (statistics.m_uncomp_size > kHarmlessSize &&
            statistics.m_uncomp_size / kLargestRatio > statistics.m_comp_size);
}

}  // namespace

/** A reader of an archive. It keeps a pointer to itself, so it stays where it was made. */
struct CResManager::CArchive {
    CArchive() { mz_zip_zero_struct(&reader); }
    ~CArchive() { mz_zip_reader_end(&reader); }
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    const char* GetErrorText() { return mz_zip_get_error_string(mz_zip_get_last_error(&reader)); }

    EExtraction Extract(const char* name, CByteZone& out, const char*& errorText);

    mz_zip_archive reader;
};

EExtraction CResManager::CArchive::Extract(const char* name, CByteZone& out,
                                           const char*& errorText) {
    const int index = mz_zip_reader_locate_file(&reader, name, nullptr, 0);
    if (index < 0) {
        return EExtraction::kNotFound;
    }
    mz_zip_archive_file_stat statistics;
    if (!mz_zip_reader_file_stat(&reader, index, &statistics)) {
        errorText = GetErrorText();
        return EExtraction::kNoStatistics;
    }
    errorText = mz_zip_get_error_string(MZ_ZIP_FILE_TOO_LARGE);
    if (IsAbsurd(statistics, reader.m_archive_size)) {
        return EExtraction::kNoStatistics;
    }
    try {
        out = CByteZone(nullptr, statistics.m_uncomp_size);
    } catch (const std::bad_alloc&) {
        return EExtraction::kNoStatistics;
    }
    if (!mz_zip_reader_extract_to_mem(&reader, index, out.GetData(), out.GetSize(), 0)) {
        errorText = GetErrorText();
        return EExtraction::kNotUnpacked;
    }
    return EExtraction::kDone;
}

CResManager::CResManager(const char* directory) {
    const CTraceScope scope("CResManager::CResManager");
    for (const char* const name : {"/qormgr.bin", "/branding.bin"}) {
        const std::string path = std::string(directory) + name;
        if (!AddResource(std::make_unique<CByteZone>(ReadFileBytes(path.c_str())))) {
            TraceString("Could not Add Resource : %s", name);
        }
    }
}

CResManager::~CResManager() {
    // Ahead of the blobs that they read.
    archives.clear();
}

bool CResManager::AddResource(std::unique_ptr<CByteZone> zone) {
    const CTraceScope scope("CResManager::AddResource");
    auto archive = std::make_unique<CArchive>();
    if (!mz_zip_reader_init_mem(&archive->reader, zone->GetData(), zone->GetSize(), 0)) {
        TraceString("Could not unzip resource: %s", archive->GetErrorText());
        return false;
    }
    const std::lock_guard<std::mutex> guard(lock);
    blobs.push_back(std::move(zone));
    archives.push_back(std::move(archive));
    return true;
}

bool CResManager::ExtractFile(const char* name, CByteZone& out) {
    auto extraction = EExtraction::kNotFound;
    const char* errorText = nullptr;
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (archives.empty()) {
            extraction = EExtraction::kNoArchive;
        }
        for (const auto& archive : archives) {
            extraction = archive->Extract(name, out, errorText);
            if (extraction != EExtraction::kNotFound) {
                break;
            }
        }
    }
    switch (extraction) {
        case EExtraction::kNoArchive:
            TraceString("Could not extract file (%s). No existing archive.", name);
            return false;
        case EExtraction::kNotFound:
            TraceString("File : %s Not found inside the resources.", name);
            return false;
        case EExtraction::kNoStatistics:
            TraceString("Could not read file stat: %s", errorText);
            return false;
        case EExtraction::kNotUnpacked:
            TraceString("Could not extract files: %s", errorText);
            return true;
        case EExtraction::kDone:
            break;
    }
    return true;
}

bool CResManager::ExtractText(const char* name, CUTF8String& out) {
    CByteZone content;
    const bool found = ExtractFile(name, content);
    out = CUTF8String(reinterpret_cast<const char*>(content.GetData()),
                      static_cast<ptrdiff_t>(content.GetSize()));
    return found;
}

CResManager& GetResManager() {
    static auto& manager = *new CResManager(GetShareDir());
    return manager;
}

CByteZone ReadFileBytes(const char* path) {
    const CFileHandle file(fopen(path, "rbe"));
    CByteZone content;
    unsigned char piece[16384];
    while (file != nullptr) {
        const size_t count = fread(piece, 1, sizeof(piece), file.get());
        content.Append(piece, count);
        if (count < sizeof(piece)) {
            break;
        }
    }
    return content;
}

const char* GetCompanyName() {
    // Not a guarded static: nothing is traced while others wait for a guard.
    static std::atomic<const CUTF8String*> kept{nullptr};
    const CUTF8String* name = kept.load(std::memory_order_acquire);
    if (name != nullptr) {
        return name->GetText();
    }
    auto read = std::make_unique<CUTF8String>();
    if (!GetResManager().ExtractText("company.txt", *read)) {
        *read = GetMakerName();
    }
    if (read->GetLength() == 0) {
        return "";
    }
    if (kept.compare_exchange_strong(name, read.get(), std::memory_order_acq_rel)) {
        name = read.release();
    }
    return name->GetText();
}
