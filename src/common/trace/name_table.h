/**
 * Tables from numbers to texts, checked and indexed by the compiler.
 *
 * Everything here is constant data: usable before static initialisation, after the end of main and
 * from any thread.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/** A number and its text. */
struct CNameRow {
    unsigned long value;
    const char* text;
};

#define NAME_ROW(value) \
    { value, #value }

// For names that the platform's header does not have.
#define NUMBERED_NAME_ROW(value, name) \
    { value, #name }

template <size_t Count>
constexpr size_t CountRows(const CNameRow (&)[Count]) {
    return Count;
}

template <size_t Count>
constexpr bool IsStrictlyRising(const CNameRow (&rows)[Count]) {
    for (size_t i = 1; i < Count; ++i) {
        if (rows[i].value <= rows[i - 1].value) {
            return false;
        }
    }
    return true;
}

/** Spreads a key over 64 bits, the best ones on top: multiplication by 2^64 over the golden ratio.
 */
constexpr uint64_t SpreadKey(uint64_t key) { return key * 0x9E3779B97F4A7C15; }

struct CByValue {
    static constexpr uint64_t Hash(const CNameRow& row) { return SpreadKey(row.value); }
};

/**
 * Where each row of a table is found: slots of row number plus one, 0 for a free slot.
 *
 * A row stands in the slot that the top bits of its hash name, or in the next free one behind. At
 * most a quarter of the slots is taken, so a search ends after one or two.
 */
template <const auto& kRows, class Key>
class CTRowSlots {
public:
    constexpr CTRowSlots() {
        for (size_t row = 0; row < CountRows(kRows); ++row) {
            size_t slot = Key::Hash(kRows[row]) >> kShift;
            while (slots[slot] != 0) {
                slot = (slot + 1) % kCount;
            }
            slots[slot] = static_cast<uint8_t>(row + 1);
        }
    }

    static constexpr unsigned Shift() {
        unsigned shift = 64;
        for (size_t count = 1; count < 4 * CountRows(kRows); count *= 2) {
            --shift;
        }
        return shift;
    }

    static constexpr unsigned kShift = Shift();
    static constexpr size_t kCount = size_t{1} << (64 - kShift);
    static_assert(CountRows(kRows) < 256, "a slot is one byte");

    uint8_t slots[kCount] = {};
};

template <const auto& kRows, class Key>
inline constexpr CTRowSlots<kRows, Key> kRowSlots;

/** A view of rows with an index over them. */
struct CRowIndex {
    /** The row with this hash that `matches` accepts, or null. */
    template <class Matches>
    const CNameRow* Find(uint64_t hash, Matches matches) const noexcept {
        const size_t mask = UINT64_MAX >> shift;
        for (size_t slot = hash >> shift; slots[slot] != 0; slot = (slot + 1) & mask) {
            const CNameRow& row = rows[slots[slot] - 1];
            if (matches(row)) {
                return &row;
            }
        }
        return nullptr;
    }

    const CNameRow* rows;
    const uint8_t* slots;
    unsigned shift;
};

/** The index by Key of an array of rows with static storage. */
template <const auto& kRows, class Key>
constexpr CRowIndex MakeRowIndex() {
    return {kRows, kRowSlots<kRows, Key>.slots, CTRowSlots<kRows, Key>::kShift};
}

/** A table of rows with their index by number, made by MakeNameTable. */
struct CNameTable {
    /** The text of a number, or `otherwise` when it has no row. */
    const char* Find(unsigned long value, const char* otherwise = nullptr) const noexcept {
        const CNameRow* row = index.Find(SpreadKey(value), [value](const CNameRow& candidate) {
            return candidate.value == value;
        });
        return row != nullptr ? row->text : otherwise;
    }

    const CNameRow* begin() const noexcept { return index.rows; }
    const CNameRow* end() const noexcept { return index.rows + count; }

    CRowIndex index;
    size_t count;
};

/** The table of an array of rows with static storage, which must rise strictly. */
template <const auto& kRows>
constexpr CNameTable MakeNameTable() {
    static_assert(IsStrictlyRising(kRows));
    return {MakeRowIndex<kRows, CByValue>(), CountRows(kRows)};
}

// The tables behind qorvs/ck_names.h, for callers that write something of their own for a number
// without a name.
extern const CNameTable kErrorNames;
extern const CNameTable kUserTypeNames;
extern const CNameTable kAttributeTypeNames;
extern const CNameTable kObjectClassNames;
extern const CNameTable kKeyTypeNames;
extern const CNameTable kCertificateTypeNames;
extern const CNameTable kMechanismTypeNames;
extern const CNameTable kKeySpecNames;
extern const CNameTable kKdfNames;
extern const CNameTable kMechanismInfoFlagNames;
extern const CNameTable kTokenInfoFlagNames;
extern const CNameTable kSessionInfoFlagNames;
extern const CNameTable kCardContainerNames;
extern const CNameTable kPcscErrorNames;
extern const CNameTable kStatusWordTexts;
