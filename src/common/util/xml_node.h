/**
 * Trees of XML elements, and their text form.
 */
#pragma once

#include "util/block_pool.h"
#include "util/ct_string.h"
#include "util/owned_array.h"

#include <cstdint>
#include <utility>

/**
 * Holds one reference to a counted record, or none. The last one to go releases the record.
 */
template <class Record>
class CTXmlPointer {
public:
    CTXmlPointer() noexcept = default;
    explicit CTXmlPointer(Record* record) noexcept : held(record) {
        if (held != nullptr) {
            ++held->refCount;
        }
    }
    CTXmlPointer(const CTXmlPointer& other) noexcept : CTXmlPointer(other.held) {}
    CTXmlPointer(CTXmlPointer&& other) noexcept : held(other.Detach()) {}
    ~CTXmlPointer() {
        if (held != nullptr && --held->refCount == 0) {
            Record::Destroy(held);
        }
    }
    CTXmlPointer& operator=(CTXmlPointer other) noexcept {
        std::swap(held, other.held);
        return *this;
    }

    Record* Get() const noexcept { return held; }
    Record* operator->() const noexcept { return held; }
    Record& operator*() const noexcept { return *held; }
    explicit operator bool() const noexcept { return held != nullptr; }

    /** Gives the record away with its reference, which the caller must take off. */
    Record* Detach() noexcept { return std::exchange(held, nullptr); }

private:
    Record* held = nullptr;
};

struct CXmlAttribute;
struct CXmlNode;
using CXmlAttributePtr = CTXmlPointer<CXmlAttribute>;
using CXmlNodePtr = CTXmlPointer<CXmlNode>;

// Larger blocks would make the C library tidy up the chunks of small texts at each document.
using CXmlPool = CTBlockPool<1000, false>;

/** Made as `new (pool) CXmlAttribute` and held by CXmlAttributePtr. */
struct CXmlAttribute : CTPoolObject<CXmlPool> {
    int32_t refCount = 0;
    CUTF8String name;
    CUTF8String value;

    static void Destroy(CXmlAttribute* attribute) noexcept { delete attribute; }
};

/**
 * An element, or a processing instruction, whose name has its "?" in front.
 *
 * Made as `new (pool) CXmlNode` and held by CXmlNodePtr. Attributes and children are in the order
 * of the document, attributes of the same name included; the character data of the element,
 * wherever it stood between the children, is joined in `content`. Equal names of one document may
 * share their buffer. The counts are plain memory: a tree belongs to one thread at a time.
 */
struct CXmlNode : CTPoolObject<CXmlPool> {
    CXmlNode() = default;
    CXmlNode(const CXmlNode&) = delete;
    CXmlNode& operator=(const CXmlNode&) = delete;

    int32_t refCount = 0;
    CUTF8String name;
    CTOwnedArray<CXmlAttributePtr> attributes;
    CTOwnedArray<CXmlNodePtr> children;
    CUTF8String content;

    /** Deletes a node that nobody holds and all below it that nobody else does, however deep. */
    static void Destroy(CXmlNode* node) noexcept;

private:
    ~CXmlNode() = default;

    CXmlNode* nextToDestroy = nullptr;
};

/**
 * An element and all below it as text, with nothing between the tags that the tree does not hold.
 *
 * The children come before the content. Attribute values stand between single quotes and have the
 * five characters of XML's own replaced by references. The content is written as it is, and an
 * instruction as an element: such texts do not read back.
 */
CUTF8String ToXml(const CXmlNode& node);
