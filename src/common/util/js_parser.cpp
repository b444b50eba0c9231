#include "util/js_parser.h"

#include "qorvs/trace.h"
#include "util/js_scalars.h"

namespace {

CJSValuePtr SharedNull() { return CJSValuePtr(kJSNull); }

/** Reads a tree from the outside in; each container is in its place before it is filled. */
class CJSReader {
public:
    CJSReader(const char*& cursor, const char* end) : text{cursor, end} {}

    CJSValuePtr ReadTree();

private:
    /** What comes next in the container that is open. */
    enum class CNext { kValue, kClosed, kFailed };

    CJSValuePtr ReadValue();
    CJSValuePtr ReadString();
    CNext GoOn();
    CNext NextElement();
    CNext NextEntry();
    CNext BeginEntry();
    CNext FailEntry(const char* before, const CISOString& name, const char* behind);
    void Place(CJSValuePtr value);

    CJSText text;
    CJSPool pool;
    CJSContainer* open = nullptr;
    bool hasValue = false;  // the open container has just been given one
    CISOString key;
};

CJSValuePtr CJSReader::ReadTree() {
    CJSValuePtr root = ReadValue();
    open = root->TakeContainer();
    while (open != nullptr) {
        const CNext next = GoOn();
        if (next == CNext::kValue) {
            Place(ReadValue());
            continue;
        }
        open = open->GetParent();
        hasValue = true;
        if (next == CNext::kFailed && open == nullptr) {
            return SharedNull();
        }
        if (next == CNext::kFailed) {
            open->DropLastContainer();
        }
    }
    return root;
}

/** Gives the open container a value, which is open then if it is a container itself. */
void CJSReader::Place(CJSValuePtr value) {
    CJSContainer* const inner = value->TakeContainer();
    open->Append(open->IsObject()
                     ? CJSValuePtr(new (pool) CJSKeyedValue(std::move(key), std::move(value)))
                     : std::move(value));
    hasValue = inner == nullptr;
    if (inner != nullptr) {
        inner->SetParent(open);
        open = inner;
    }
}

CJSValuePtr CJSReader::ReadString() {
    std::string_view units;
    return ReadJSString(text, units) ? CJSValuePtr(new (pool) CJSString(TextOf<CUTF8String>(units)))
                                     : SharedNull();
}

/** Reads a value; of an array or object only its opening. */
CJSValuePtr CJSReader::ReadValue() {
    SkipJSBlanks(text);
    if (text.Peek() == '"') {
        return ReadString();
    }
    if (text.Take('{')) {
        return CJSValuePtr(new (pool) CJSObject);
    }
    if (text.Take('[')) {
        return CJSValuePtr(new (pool) CJSArray);
    }
    if (IsJSDigit(text.Peek())) {
        return ReadJSNumber(text, pool);
    }
    const bool isTrue = text.TakeWord("true");
    if (isTrue || text.TakeWord("false")) {
        return CJSValuePtr(new (pool) CJSBoolean(isTrue));
    }
    return text.TakeWord("null") ? CJSValuePtr(new (pool) CJSNull) : SharedNull();
}

CJSReader::CNext CJSReader::GoOn() {
    SkipJSBlanks(text);
    return open->IsObject() ? NextEntry() : NextElement();
}

CJSReader::CNext CJSReader::NextElement() {
    if (hasValue) {
        // Kept: whatever is no comma ends the array and is taken for its bracket.
        const bool goesOn = text.Peek() == ',';
        text.cursor += text.AtEnd() ? 0 : 1;
        return goesOn ? CNext::kValue : CNext::kClosed;
    }
    return text.Take(']') ? CNext::kClosed : CNext::kValue;
}

CJSReader::CNext CJSReader::NextEntry() {
    if (text.AtEnd()) {
        return CNext::kFailed;
    }
    if (text.Take('}')) {
        return CNext::kClosed;
    }
    if (hasValue) {
        if (!text.Take(',')) {
            return FailEntry("JSON object parsing error: a closing brace is missing! item: ",
                             open->GetAt(open->GetCount() - 1)->GetKey(), "");
        }
        hasValue = false;
        return GoOn();
    }
    return BeginEntry();
}

/** Reads the key and what leads from it to the value. */
CJSReader::CNext CJSReader::BeginEntry() {
    if (!ReadJSKey(text, key)) {
        text.SkipAll();
        return CNext::kFailed;
    }
    SkipJSBlanks(text);
    return text.Take(':')
               ? CNext::kValue
               : FailEntry("JSON object parsing error: \"", key, "\" is not followed by ':'!");
}

/** Traces what is wrong with an entry; nothing more is read. */
CJSReader::CNext CJSReader::FailEntry(const char* before, const CISOString& name,
                                      const char* behind) {
    text.SkipAll();
    TraceString0((CUTF8String(before).Append(name) += behind).GetText());
    return CNext::kFailed;
}

}  // namespace

CJSValuePtr Parse(const char*& cursor, const char* end) {
    return CJSReader(cursor, end).ReadTree();
}
