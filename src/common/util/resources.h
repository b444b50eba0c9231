/**
 * Packed resources: what the program reads from ZIP archives (APPNOTE 6.3) in its share directory.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <memory>
#include <mutex>
#include <vector>

/**
 * Archives in memory, asked in the order in which they were added: a member of an earlier one
 * shadows a member of the same name in a later one.
 *
 * Members are stored or deflated; their names are compared without regard to the case of ASCII
 * letters. Any thread may add and extract at any time. Nothing is thrown but std::bad_alloc; what
 * fails is in the trace log.
 */
class CResManager {
public:
    /**
     * Adds "qormgr.bin" and then "branding.bin" from a directory. One that is missing or damaged is
     * traced and left out.
     */
    explicit CResManager(const char* directory);
    ~CResManager();

    CResManager(const CResManager&) = delete;
    CResManager& operator=(const CResManager&) = delete;

    /** Takes a whole archive, not null; false when it is none, and then it is released. */
    bool AddResource(std::unique_ptr<CByteZone> zone);

    /**
     * Gives a copy of a member; false when no archive has it, or its header cannot be right, and
     * then `out` stays as it is.
     *
     * Kept: a member that cannot be unpacked counts as found: `out` has its size and whatever was
     * unpacked, zeros otherwise. Callers that go on with what they get are not to fall back.
     */
    bool ExtractFile(const char* name, CByteZone& out);

    /** The same as text, whose bytes are taken as UTF-8; empty when there is no member. */
    bool ExtractText(const char* name, CUTF8String& out);

private:
    struct CArchive;

    // A reader works on its blob, so a blob lives as long as its reader.
    std::vector<std::unique_ptr<CArchive>> archives;
    std::vector<std::unique_ptr<CByteZone>> blobs;

    // Guards both, and the readers themselves, which keep their last error. A leaf.
    std::mutex lock;
};

/** The archives in the share directory, read on the first call and kept as long as the process. */
CResManager& GetResManager();

/** Reads a whole file; empty when it cannot be read. */
CByteZone ReadFileBytes(const char* path);

/** The text of the resource "company.txt", otherwise the maker's name; kept when not empty. */
const char* GetCompanyName();
