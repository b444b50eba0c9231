/**
 * Vector files: cases as stanzas of "key = value" below a "[name]", "#" for comments.
 */
#pragma once

#include "util/ct_zone.h"

#include <map>
#include <string>
#include <vector>

/**
 * One case. Keys that end in "_text" hold characters, with the escapes \n, \r, \t, \\ and \xHH;
 * in "_int" a decimal number; all others hexadecimal bytes. A value of "-" means that there is
 * none.
 *
 * A key that is asked for and missing fails the test, and so does, when the case ends, a key that
 * nobody asked for.
 */
class CStanza {
public:
    CStanza(std::string caseName, std::string place);
    ~CStanza();
    CStanza(CStanza&&) = default;

    void Add(const std::string& key, const std::string& value);

    /** For messages: the case and where it stands. */
    const std::string& Name() const { return name; }

    bool Has(const std::string& key) const;
    std::string Text(const std::string& key) const;
    CByteZone Bytes(const std::string& key) const;
    long Int(const std::string& key) const;

    /** Marks everything as read, for cases that are left out. */
    void Skip() const;

private:
    struct CValue {
        std::string text;
        mutable bool read = false;
    };

    const std::string& Find(const std::string& key) const;

    std::string name;
    std::map<std::string, CValue> values;
};

/** The cases of a file of our own, below tests/vectors. */
std::vector<CStanza> ReadStanzas(const std::string& file);

/** The cases of a file of the public suites; none, with a message, where these are absent. */
std::vector<CStanza> ReadSharedStanzas(const std::string& file);

/** Runs `body` for each case, named in what fails; skips the test when there is none. */
#define FOR_EACH_STANZA(stanza, stanzas)                                   \
    const auto allStanzas = (stanzas);                                     \
    if (allStanzas.empty()) {                                              \
        GTEST_SKIP() << "the public test vectors are not on this machine"; \
    }                                                                      \
    for (const CStanza& stanza : allStanzas)                               \
        if (const testing::ScopedTrace trace(__FILE__, __LINE__, stanza.Name()); true)
