/**
 * How decoded ASN.1 values become text for people or programs to read.
 */
#pragma once

#include "util/ct_string.h"

#include <cstdint>

/**
 * What the types of a value print through. The layout is the printer's, the words are the types'.
 *
 * Printers belong to one thread, and nobody deletes one through this class.
 */
class CPrinter {
public:
    /** Begins a structure: a line of its title, what follows is indented. */
    virtual void Open(const char* title) = 0;

    /** Ends the structure. */
    virtual void Close() = 0;

    /** Whether values are to print as JSON. */
    virtual bool IsJson() const = 0;

    /**
     * Appends a piece of text, behind `indent` tabs when it begins a line. A line end is the last
     * character of its piece or the indentation of the next line is lost.
     */
    void Emit(const CUTF8String& piece);

    bool atLineStart = true;
    int32_t indent = 0;
    CUTF8String text;

    virtual ~CPrinter() = default;

protected:
    CPrinter() = default;
};

/** Structures as lines, with a tab in front for each level. */
class CPlainPrinter : public CPrinter {
public:
    void Open(const char* title) override;
    void Close() override;
    bool IsJson() const override { return false; }
};

/** The same layout with the words of JSON: `text` is one JSON value. */
class CJsonPrinter : public CPlainPrinter {
public:
    bool IsJson() const override { return true; }
};
