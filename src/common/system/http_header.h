/**
 * One header line of HTTP (RFC 1945, 4.2) and its parameters.
 */
#pragma once

#include "util/ct_string.h"
#include "util/owned_array.h"

/**
 * A header line, taken apart when something of it is first asked for.
 *
 * The default one is empty and stands for a header that is not there. Asking changes the object, so
 * it belongs to one thread at a time. Nothing is thrown.
 */
class CHttpHeader {
public:
    CHttpHeader() = default;
    explicit CHttpHeader(CISOString headerLine) : line(std::move(headerLine)) {}

    /** What stands before the ":", in lower case; empty when there is no ":". */
    const CISOString& GetName();

    /**
     * What stands behind the ":", without blanks before it; without its parameters too once one has
     * been asked for.
     */
    const CISOString& GetValue();

    /**
     * The value of a parameter (";key=value" or ";key="value"", in which nothing is an escape), or
     * an empty text. Keys are stored in lower case and compared as they are; of equal ones the last
     * counts. A line without ":" is taken for a value that parameters may follow.
     */
    CISOString GetParameter(const CISOString& key);

    /** Whether there is neither a name nor a value. */
    bool IsEmpty();

    /** Compares the value, character by character. */
    bool operator==(const char* text);
    bool operator!=(const char* text) { return !(*this == text); }

private:
    struct CParameter {
        CISOString key;
        CISOString value;
    };

    void Parse();
    void ParseParameters();
    void SetParameter(const CISOString& key, const CISOString& text);

    CISOString line;
    CISOString name;
    CISOString value;
    CTOwnedArray<CParameter> params;
    bool parsed = false;
    bool paramsParsed = false;
};
