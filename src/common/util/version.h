/**
 * Version numbers.
 */
#pragma once

#include "util/ct_string.h"
#include "util/exception.h"

#include <cstdint>
#include <memory>

/** The indices of version numbers are out of order. */
class InvalideIndexOrder : public CException {
public:
    using CException::CException;
};

/**
 * The version that a text holds, "6.23.50.5" of "qorvs 6.23.50.5 (release)": the first run of
 * digits and points, with one point between its numbers and none at its end.
 *
 * Throws CException, with the text in its message, when there is no digit or there are more than
 * four numbers.
 */
CUTF8String ExtractVersion(const CUTF8String& text);

/** Four numbers; a version with fewer has zeros behind them. The zero version is "0.0.0.0". */
class Version {
public:
    static constexpr unsigned kCount = 4;

    Version() noexcept = default;

    /** The version in a text. Throws as ExtractVersion does, and as ToUInt for too big numbers. */
    static std::shared_ptr<const Version> FromText(const CUTF8String& text);

    /** All four numbers. */
    CUTF8String GetText() const { return GetText(0, kCount - 1); }

    /**
     * The numbers from the index `first` to the index `last`, with points between them. Throws
     * InvalideIndexOrder when `last` comes before `first` or there is no such number.
     */
    CUTF8String GetText(unsigned first, unsigned last) const;

private:
    uint32_t numbers[kCount] = {};
};
