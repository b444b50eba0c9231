#include "system/config.h"

#include "system/config_parser.h"
#include "util/byte_search.h"
#include "util/file_handle.h"
#include "util/numbers.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

std::string ReadFile(const char* path) {
    std::string text;
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return text;
    }
    char piece[4096];
    ssize_t count = 0;
    do {
        count = read(descriptor, piece, sizeof(piece));
        if (count > 0) {
            text.append(piece, static_cast<size_t>(count));
        }
    } while (count > 0 || (count < 0 && errno == EINTR));
    close(descriptor);
    return text;
}

/** A copy that shares nothing, for a string that may be seen by two threads. */
CUTF8String Separate(const CUTF8String& text) {
    return CUTF8String(text.GetBuffer(), static_cast<ptrdiff_t>(text.GetLength()));
}

bool IsSame(const CUTF8String& left, const CUTF8String& right) noexcept {
    const auto first = static_cast<unsigned char>(*left.GetText());
    const auto second = static_cast<unsigned char>(*right.GetText());
    // Most pairs differ here already; bytes above 0x7F say nothing before they are decoded.
    if (first != second && (first | second) < 0x80) {
        return false;
    }
    const size_t length = left.GetLength();
    if (length == right.GetLength() && std::memcmp(left.GetText(), right.GetText(), length) == 0) {
        return true;
    }
    if (IsAscii(left.GetText(), length) && IsAscii(right.GetText(), right.GetLength())) {
        return false;
    }
    return left.Compare(right) == 0;
}

/** From the length, the first, the middle and the last character, where the bytes tell them. */
uint32_t MarkOf(const CUTF8String& key) noexcept {
    const char* const text = key.GetText();
    const size_t length = key.GetLength();
    if (length == 0 || !IsAscii(text, length)) {
        return 0;
    }
    const auto at = [text](size_t index) { return static_cast<uint32_t>(text[index]); };
    return 0x80000000 | static_cast<uint32_t>(length & 0x3FF) << 21 | at(0) << 14 |
           at(length / 2) << 7 | at(length - 1);
}

template <class Elements>
bool IsIndexOf(const Elements& elements, int32_t index) {
    return index >= 0 && static_cast<size_t>(index) < elements.GetCount();
}

}  // namespace

int32_t ToSettingInt(const CUTF8String& value, int32_t fallback) {
    try {
        const uint32_t number = ToUInt(value);
        return number <= INT32_MAX ? static_cast<int32_t>(number) : fallback;
    } catch (const std::runtime_error&) {
        return fallback;
    }
}

CConfig::CConfig(const CUTF8String& filePath) : root(this), path(Separate(filePath)) {
    const std::string text = ReadFile(path.GetText());
    ParseConfig(*this, text.data(), text.size());
}

CConfig::CConfig(CConfig* file, CUTF8String sectionName)
    : name(std::move(sectionName)), root(file) {}

CConfig::~CConfig() = default;

const CConfigEntry* CConfig::FindEntry(const CUTF8String& key) const noexcept {
    const uint32_t mark = MarkOf(key);
    for (const CConfigEntry& entry : entries) {
        const bool mayBeSame = entry.mark == mark || entry.mark == 0 || mark == 0;
        if (mayBeSame && IsSame(entry.key, key)) {
            return &entry;
        }
    }
    return nullptr;
}

const CUTF8String* CConfig::FindValue(const CUTF8String& key) const noexcept {
    const CConfigEntry* const entry = FindEntry(key);
    return entry != nullptr ? &entry->value : nullptr;
}

int32_t CConfig::GetInt(const CUTF8String& key, int32_t fallback) const {
    const CUTF8String* const value = FindValue(key);
    return value != nullptr ? ToSettingInt(*value, fallback) : fallback;
}

CUTF8String CConfig::GetString(const CUTF8String& key) const {
    const CUTF8String* const value = FindValue(key);
    return value != nullptr ? Separate(*value) : CUTF8String();
}

CConfig* CConfig::GetSection(const CUTF8String& sectionName) {
    for (const auto& section : sections) {
        if (IsSame(section->name, sectionName)) {
            return section.get();
        }
    }
    return AppendSection(Separate(sectionName));
}

int32_t CConfig::GetIntFirstOf(const CStringList& keys, int32_t fallback, int32_t sentinel) const {
    for (const CUTF8String& key : keys) {
        const int32_t value = GetInt(key, sentinel);
        if (value != sentinel) {
            return value;
        }
    }
    return fallback;
}

CUTF8String CConfig::GetStringFirstOf(const CStringList& keys) const {
    CUTF8String value;
    for (const CUTF8String& key : keys) {
        value = GetString(key);
        if (value.GetLength() > 0 && value != "_") {
            break;
        }
    }
    return value;
}

int32_t CConfig::GetEntryCount() const noexcept { return static_cast<int32_t>(entries.GetCount()); }

bool CConfig::GetEntry(int32_t index, CUTF8String& key, CUTF8String& value) const {
    if (!IsIndexOf(entries, index)) {
        return false;
    }
    const CConfigEntry& entry = entries[static_cast<size_t>(index)];
    key = Separate(entry.key);
    value = Separate(entry.value);
    return true;
}

bool CConfig::GetSectionName(int32_t index, CUTF8String& sectionName) const {
    if (!IsIndexOf(sections, index)) {
        return false;
    }
    sectionName = Separate(sections[static_cast<size_t>(index)]->name);
    return true;
}

CConfig* CConfig::AppendSection(CUTF8String sectionName) {
    return sections.Append(std::make_unique<CConfig>(root, std::move(sectionName))).get();
}

void CConfig::AppendEntry(CUTF8String key, CUTF8String value) {
    const uint32_t mark = MarkOf(key);
    entries.Append({std::move(key), std::move(value), mark});
}

bool CConfig::SetString(const CUTF8String& key, const CUTF8String& value) {
    if (key.GetLength() == 0) {
        return false;
    }
    auto* const entry = const_cast<CConfigEntry*>(FindEntry(key));
    if (entry != nullptr) {
        entry->value = Separate(value);
    } else {
        AppendEntry(Separate(key), Separate(value));
    }
    return Save();
}

bool CConfig::SetInt(const CUTF8String& key, int32_t value) {
    char digits[16];
    *std::to_chars(digits, digits + sizeof(digits) - 1, value).ptr = 0;
    return SetString(key, digits);
}

bool CConfig::Remove(const CUTF8String& key) {
    const CConfigEntry* const entry = FindEntry(key);
    if (entry == nullptr) {
        return false;
    }
    entries.Remove(static_cast<size_t>(entry - entries.begin()));
    return Save();
}

bool CConfig::Save() const {
    const CUTF8String text = ToText(*root, 0);
    CFileHandle file(fopen(root->path.GetText(), "we"));
    if (!file) {
        return false;
    }
    const size_t written = fwrite(text.GetText(), 1, text.GetLength(), file.get());
    // What the buffer still holds is written, or fails, here.
    return fclose(file.release()) == 0 && written == text.GetLength();
}
