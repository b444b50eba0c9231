/**
 * Values as JSON texts hold them, read without checks: what a value does not hold is answered with
 * something neutral, so a chain of lookups always comes to its end.
 */
#pragma once

#include "util/block_pool.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"
#include "util/owned_array.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

// Smaller blocks would scatter the texts that are allocated in between.
using CJSPool = CTBlockPool<32 << 10, true>;

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): as its base.
class CJSContainer;
class CJSValue;

/**
 * The shared null value, which stands for whatever is missing. A value that is not there compares
 * equal to it; a null that was written in the text does not. It is never deleted.
 */
extern CJSValue* const kJSNull;

/** Deletes a value with all that it owns; the shared null value stays. */
struct CJSDeleter {
    void operator()(CJSValue* value) const noexcept;
};

/** Never empty: it owns a value, or holds the shared null value. */
using CJSValuePtr = std::unique_ptr<CJSValue, CJSDeleter>;

/** A position in the entries of an object. */
using CJSIterator = const CJSValue* const*;

/**
 * The base of all values, which gives the neutral answers.
 *
 * A kind answers only for what it is: an integer is no double and no boolean. Values do not change
 * once they are parsed, and may be read by several threads: texts are handed out as copies with
 * storage of their own. What a lookup gives belongs to the tree. Values exist only as parts of
 * trees, each in the memory of the pool that its tree was made with.
 */
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only CJSDeleter deletes.
class CJSValue : public CTPoolObject<CJSPool> {
protected:
    friend CJSDeleter;

    virtual ~CJSValue() = default;
    constexpr CJSValue() noexcept = default;

public:
    /** The key of an entry, or empty. */
    virtual CISOString GetKey() const { return {}; }

    /** The text of a string, or empty. */
    virtual CUTF8String GetString() const { return {}; }

    /** The value of a boolean, or false. */
    virtual bool GetBool() const { return false; }

    /** As GetBool, but `fallback` if this is the shared null value. */
    virtual bool GetBoolOr(bool fallback) const { return this == kJSNull ? fallback : GetBool(); }

    /** The value of an integer, or 0. */
    virtual int32_t GetInt() const { return 0; }

    /** The value of a double. The largest finite one marks a value that is none. */
    virtual double GetDouble() const;

    /**
     * The bytes whose hexadecimal digits a string holds, or none.
     *
     * White space may stand between bytes, and ends a byte of a single digit. Anything else that is
     * no pair of digits ends the bytes.
     */
    virtual CByteZone GetBytes() const { return {}; }

    /** The number of elements or entries, or 0. */
    virtual size_t GetCount() const { return 0; }

    /** Whether this is a null, the shared one or another. False for an entry that has one. */
    virtual bool IsNull() const { return false; }

    /** An element of an array or an entry of an object, or the shared null value. */
    virtual const CJSValue* GetAt(size_t index) const;

    /** The first entry of an object with a key, or the shared null value. */
    virtual const CJSValue* GetByKey(const char* key) const;

    /** The first entry whose key, read as by GetBytes, is these bytes, or the shared null value. */
    virtual const CJSValue* GetByHexKey(const CByteZone& bytes) const;

    /** The entries of an object, or nothing; the elements of an array are reached by index. */
    virtual CJSIterator begin() const { return nullptr; }
    virtual CJSIterator end() const { return nullptr; }

    /**
     * The array or object that this is, or that this entry has; null for other kinds. An entry
     * gives it away to the caller and keeps the shared null value.
     */
    virtual CJSContainer* TakeContainer() noexcept { return nullptr; }

    CJSValue(const CJSValue&) = delete;
    CJSValue& operator=(const CJSValue&) = delete;
};

/**
 * What arrays and objects have in common: values in their order, which it owns. The array of
 * pointers doubles from a capacity of two.
 */
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): as its base.
class CJSContainer : public CJSValue {
public:
    size_t GetCount() const override { return items.GetCount(); }
    const CJSValue* GetAt(size_t index) const override;
    CJSContainer* TakeContainer() noexcept override { return this; }

    virtual bool IsObject() const noexcept = 0;

    void Append(CJSValuePtr value) {
        items.Append(value.get());
        static_cast<void>(value.release());
    }

    /** Puts the shared null value in the place of the array or object that came last. */
    void DropLastContainer() noexcept;

    CJSContainer* GetParent() const noexcept { return parent; }
    void SetParent(CJSContainer* container) noexcept { parent = container; }

protected:
    /** Deletes what is inside, however deep, with no more stack for it. */
    ~CJSContainer() override;

    CTOwnedArray<CJSValue*> items;

private:
    // The way back for those who go through a tree, from its first container to its last.
    CJSContainer* parent = nullptr;
};

class CJSArray : public CJSContainer {
public:
    bool IsObject() const noexcept override { return false; }
};

/** Its items are entries: CJSKeyedValue. */
class CJSObject : public CJSContainer {
public:
    const CJSValue* GetByKey(const char* key) const override;
    const CJSValue* GetByHexKey(const CByteZone& bytes) const override;
    CJSIterator begin() const override { return items.begin(); }
    CJSIterator end() const override { return items.end(); }
    bool IsObject() const noexcept override { return true; }
};

/**
 * An entry of an object: a key, and a value that answers for it.
 *
 * Kept: it is not null when its value is, and it neither lists nor finds by hexadecimal key what
 * its value holds. Callers tell a null that is present from a missing entry by it.
 */
class CJSKeyedValue : public CJSValue {
public:
    CJSKeyedValue(CISOString entryKey, CJSValuePtr entryValue) noexcept
        : key(std::move(entryKey)), value(std::move(entryValue)) {}

    const char* GetKeyText() const noexcept { return key.GetText(); }
    const CJSValue* GetValue() const noexcept { return value.get(); }

    CISOString GetKey() const override;
    CUTF8String GetString() const override { return value->GetString(); }
    bool GetBool() const override { return value->GetBool(); }
    int32_t GetInt() const override { return value->GetInt(); }
    double GetDouble() const override { return value->GetDouble(); }
    CByteZone GetBytes() const override { return value->GetBytes(); }
    size_t GetCount() const override { return value->GetCount(); }
    const CJSValue* GetAt(size_t index) const override { return value->GetAt(index); }
    const CJSValue* GetByKey(const char* name) const override { return value->GetByKey(name); }
    CJSContainer* TakeContainer() noexcept override;

    /** Whether the key is the digits of these bytes. */
    bool HasHexKey(const CByteZone& bytes) const;

private:
    CISOString key;
    CJSValuePtr value;
};

class CJSString : public CJSValue {
public:
    explicit CJSString(CUTF8String content) noexcept : text(std::move(content)) {}

    CUTF8String GetString() const override;
    CByteZone GetBytes() const override;

private:
    CUTF8String text;
};

class CJSBoolean : public CJSValue {
public:
    explicit CJSBoolean(bool content) noexcept : value(content) {}

    bool GetBool() const override { return value; }

private:
    bool value;
};

class CJSInteger : public CJSValue {
public:
    explicit CJSInteger(int32_t content) noexcept : value(content) {}

    int32_t GetInt() const override { return value; }

private:
    int32_t value;
};

class CJSDouble : public CJSValue {
public:
    explicit CJSDouble(double content) noexcept : value(content) {}

    double GetDouble() const override { return value; }

private:
    double value;
};

class CJSNull : public CJSValue {
public:
    bool IsNull() const override { return true; }
};
