/**
 * The arguments of formatted messages.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"
#include "util/growth.h"
#include "util/ref_counter.h"

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

/**
 * One argument: a value that can be told as text, as it is or by a conversion.
 *
 * Lists that were separated from each other hold the same arguments; the last list to go deletes
 * them. The count of the lists is plain memory, as everywhere in messages.
 */
template <class Encoding, bool Secure>
class CTFmtArg {
public:
    using Text = CTString<Encoding, Secure>;

    CTFmtArg() = default;
    CTFmtArg(const CTFmtArg&) = delete;
    CTFmtArg& operator=(const CTFmtArg&) = delete;

    virtual ~CTFmtArg() = default;
    virtual Text GetText() const = 0;
    virtual Text GetText(const Text& spec) const = 0;

    void AddReference() noexcept { ++holders; }
    bool DropReference() noexcept { return --holders == 0; }

private:
    int32_t holders = 1;
};

/** A string; a conversion changes nothing. */
template <class Encoding>
class CTStrFmtArg : public CTFmtArg<Encoding, false> {
public:
    using Text = CTString<Encoding, false>;

    explicit CTStrFmtArg(const Text& text) : value(text) {}

    Text GetText() const override { return value; }
    Text GetText(const Text& /*spec*/) const override { return value; }

private:
    Text value;
};

/**
 * An integer: decimal, or as printf writes it.
 *
 * A conversion is what stands behind the "%" of a printf format: flags, width, precision, length
 * modifier and one of d i o u x X c. The value is converted to the type that the modifier names (32
 * bits without one) and the text ends after 38 characters. Any other text gives an empty
 * text.
 */
template <class Encoding, class Integer>
class CTIntFmtArg : public CTFmtArg<Encoding, false> {
public:
    using Text = CTString<Encoding, false>;

    explicit CTIntFmtArg(Integer number) : value(number) {}

    Text GetText() const override;
    Text GetText(const Text& spec) const override;

private:
    Integer value;
};

extern template class CTIntFmtArg<CISOEncoding, int>;
extern template class CTIntFmtArg<CUTF8Encoding, int>;
extern template class CTIntFmtArg<CISOEncoding, unsigned long>;

/**
 * The list of arguments of a message: one pointer, shared on copy and separated when an argument is
 * added to a list with several holders. Null until the first argument.
 *
 * The counts are not atomic: lists that share arguments belong to one thread at a time.
 */
template <class Encoding, bool Secure>
class CTFmtArgs {
public:
    using Argument = CTFmtArg<Encoding, Secure>;
    using Text = CTString<Encoding, Secure>;

    /** Array of pointers, count and capacity, in this order behind the virtual table. */
    template <class ListEncoding>
    class CFmtArgList {
    public:
        using Item = CTFmtArg<ListEncoding, Secure>;

        CFmtArgList() = default;
        CFmtArgList(const CFmtArgList&) = delete;
        CFmtArgList& operator=(const CFmtArgList&) = delete;
        virtual ~CFmtArgList() {
            for (uint64_t i = 0; i < count; ++i) {
                if (items[i]->DropReference()) {
                    delete items[i];
                }
            }
            CTZoneStorage<false>::Release(items);
        }

        /** Takes the argument, also when it throws std::bad_alloc. */
        void Append(std::unique_ptr<Item> item) {
            Reserve(count + 1);
            items[count++] = item.release();
        }

        /** Adds the arguments of another list, which keeps them. */
        void Share(const CFmtArgList& other) {
            Reserve(count + other.count);
            for (uint64_t i = 0; i < other.count; ++i) {
                other.items[i]->AddReference();
                items[count++] = other.items[i];
            }
        }

        uint64_t GetCount() const noexcept { return count; }
        const Item& operator[](uint64_t index) const noexcept { return *items[index]; }

    private:
        void Reserve(uint64_t required) {
            if (required > capacity) {
                const size_t grown = GrownCapacity(capacity, required);
                items = static_cast<Item**>(CTZoneStorage<false>::Regrow(
                    items, count * sizeof(Item*), CheckedBytes(grown, sizeof(Item*))));
                capacity = grown;
            }
        }

        Item** items = nullptr;
        uint64_t count = 0;
        uint64_t capacity = 0;
    };

    CTFmtArgs() noexcept = default;
    CTFmtArgs(const CTFmtArgs& other) noexcept : list(other.list) {
        if (list != nullptr) {
            list->AddReference();
        }
    }
    CTFmtArgs(CTFmtArgs&& other) noexcept : list(std::exchange(other.list, nullptr)) {}
    CTFmtArgs& operator=(CTFmtArgs other) noexcept {
        std::swap(list, other.list);
        return *this;
    }
    ~CTFmtArgs() { Release(list); }

    CTFmtArgs& operator<<(const Text& text) {
        return Add(std::make_unique<CTStrFmtArg<Encoding>>(text));
    }
    CTFmtArgs& operator<<(int number) {
        return Add(std::make_unique<CTIntFmtArg<Encoding, int>>(number));
    }
    /** Only in lists of one byte a character. */
    CTFmtArgs& operator<<(unsigned long number) {
        static_assert(std::is_same_v<Encoding, CISOEncoding>, "there is no such UTF-8 argument");
        return Add(std::make_unique<CTIntFmtArg<CISOEncoding, unsigned long>>(number));
    }

    size_t GetCount() const noexcept { return list != nullptr ? list->GetCount() : 0; }

    /** The argument at an index that is below GetCount(). */
    const Argument& operator[](size_t index) const noexcept { return (*list)[index]; }

private:
    using List = CValRefCounter<CFmtArgList<Encoding>>;

    static void Release(List* list) noexcept {
        if (list != nullptr && list->DropReference()) {
            delete list;
        }
    }

    CTFmtArgs& Add(std::unique_ptr<Argument> argument) {
        if (list == nullptr) {
            list = new List;
        } else if (list->IsShared()) {
            auto separated = std::make_unique<List>();
            separated->Share(*list);
            Release(list);
            list = separated.release();
        }
        list->Append(std::move(argument));
        return *this;
    }

    List* list = nullptr;
};

using CUTF8FmtArgs = CTFmtArgs<CUTF8Encoding, false>;
using CISOFmtArgs = CTFmtArgs<CISOEncoding, false>;
