/**
 * A settings file in memory: sections that hold entries and further sections.
 */
#pragma once

#include "util/ct_string.h"
#include "util/owned_array.h"
#include "util/string_list.h"

#include <cstdint>
#include <memory>

struct CConfigEntry {
    CUTF8String key;
    CUTF8String value;
    // Two keys with different marks differ; 0 says nothing. Keeps a look-up inside the array.
    uint32_t mark;
};

/**
 * One section of a settings file; the file itself is the root, a section without a name.
 *
 * Names and keys are compared code point by code point. Duplicates are kept and the first one
 * counts; sections inherit nothing from each other. Nothing here throws for what a file holds.
 *
 * A root owns everything below it, and a section lives as long as its root. There is no lock: an
 * object belongs to one thread at a time. What goes in and comes out are copies of their own, so a
 * thread that only reads does not disturb others that only read.
 */
class CConfig {
public:
    /** Reads a file and parses it; one that cannot be read gives an empty root. */
    explicit CConfig(const CUTF8String& path);

    /** An empty section below `root`, which the caller adds to it or to one of its sections. */
    CConfig(CConfig* root, CUTF8String name);

    virtual ~CConfig();

    /**
     * A value as a number: decimal digits, nothing else. `fallback` when there is no such key, and
     * when the first entry with that key holds anything else or more than 2147483647.
     */
    virtual int32_t GetInt(const CUTF8String& key, int32_t fallback) const;

    /** A value as it stands; empty when there is no such key. */
    virtual CUTF8String GetString(const CUTF8String& key) const;

    CConfig(const CConfig&) = delete;
    CConfig& operator=(const CConfig&) = delete;

    /**
     * The section of that name; never null, and owned by this one. A missing section is added, and
     * written by the next Save.
     */
    CConfig* GetSection(const CUTF8String& sectionName);

    /** The first number, of several keys, that is not `sentinel`; otherwise `fallback`. */
    int32_t GetIntFirstOf(const CStringList& keys, int32_t fallback, int32_t sentinel) const;

    /**
     * The first value, of several keys, that is neither empty nor "_". When there is none, the
     * last key's value, which may be "_".
     */
    CUTF8String GetStringFirstOf(const CStringList& keys) const;

    /** The value of the first entry with that key, null when there is none. */
    const CUTF8String* FindValue(const CUTF8String& key) const noexcept;

    int32_t GetEntryCount() const noexcept;

    /** An entry in the order of the file; false when there is none with that index. */
    bool GetEntry(int32_t index, CUTF8String& key, CUTF8String& value) const;

    /** The name of a section in the order of the file; false when there is none. */
    bool GetSectionName(int32_t index, CUTF8String& sectionName) const;

    /**
     * Sets the first entry with that key, or adds one, and saves the whole file. False for an empty
     * key, which changes nothing, and when the file was not written.
     */
    bool SetString(const CUTF8String& key, const CUTF8String& value);

    /** As SetString. Kept: GetInt takes no sign, so a negative number reads back as its fallback.
     */
    bool SetInt(const CUTF8String& key, int32_t value);

    /** Removes the first entry with that key and saves; false when there is none. */
    bool Remove(const CUTF8String& key);

    /**
     * Writes the whole file, in place, from what this root holds; changes that others made to the
     * file meanwhile are lost. False when not everything could be written.
     */
    bool Save() const;

    /** Adds to the memory only; for the parser. */
    CConfig* AppendSection(CUTF8String sectionName);
    void AppendEntry(CUTF8String key, CUTF8String value);

    const CUTF8String& GetName() const noexcept { return name; }
    const CUTF8String& GetPath() const noexcept { return path; }
    const CTOwnedArray<std::unique_ptr<CConfig>>& GetSections() const noexcept { return sections; }
    const CTOwnedArray<CConfigEntry>& GetEntries() const noexcept { return entries; }

private:
    const CConfigEntry* FindEntry(const CUTF8String& key) const noexcept;

    CUTF8String name;
    CTOwnedArray<std::unique_ptr<CConfig>> sections;
    CTOwnedArray<CConfigEntry> entries;
    CConfig* root;
    CUTF8String path;
};

/** A value of a settings file as CConfig::GetInt reads it. A value that fails is traced. */
int32_t ToSettingInt(const CUTF8String& value, int32_t fallback);
