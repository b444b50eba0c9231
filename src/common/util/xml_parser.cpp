#include "util/xml_parser.h"

#include "util/encodings.h"
#include "util/raise.h"
#include "util/xml_cursor.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace {

struct CReferenceRow {
    const char* name;
    char character;
};

constexpr CReferenceRow kReferences[] = {
    {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'},
};

constexpr const char* kNoTagEnd = "XML: '>' character expected";

class CXmlParser {
public:
    explicit CXmlParser(const CUTF8String& text) noexcept : cursor(text) {}

    CXmlNodePtr ParseElement();

private:
    bool ParseElement(CXmlNode& element);
    bool ParseContents(CXmlNode& element);
    void ParseAttributes(CXmlNode& element);
    CUTF8String ReadValue();
    void ReadContent(CUTF8String& content);
    const char* ReadReference(CUTF8String& text);

    CXmlNode& OpenElement(CXmlNodePtr& root);
    void CloseElement();

    CXmlCursor cursor;
    CXmlPool pool;
    // The elements that the cursor is in, the outermost first.
    std::vector<CXmlNode*> open;
};

/** Appends the character that a reference behind its "&" stands for, or says what is wrong. */
const char* CXmlParser::ReadReference(CUTF8String& text) {
    const CUTF8String name = cursor.ReadName();
    if (cursor.Read() != ';') {
        // Kept: a semicolon is meant. The words are matched as they are.
        return "XML: ')' character expected";
    }
    for (const CReferenceRow& row : kReferences) {
        if (name == row.name) {
            text.Append(static_cast<char32_t>(row.character));
            return nullptr;
        }
    }
    return "XML: Invalid character reference";
}

CUTF8String CXmlParser::ReadValue() {
    const char32_t quote = cursor.Read();
    if (quote != '"' && quote != '\'') {
        RAISE(CXMLException("XML: Expecting quotes for attribute value"));
    }
    CUTF8String value;
    for (;;) {
        const char32_t stop = cursor.ReadRun(value, quote);
        if (stop == quote) {
            return value;
        }
        if (stop == kEndOfText) {
            RAISE(CXMLException("XML: End of file within attribute value"));
        }
        if (const char* const fault = ReadReference(value)) {
            RAISE(CXMLException(fault));
        }
    }
}

/** Appends the text up to the next "<", without the spaces before it. */
void CXmlParser::ReadContent(CUTF8String& content) {
    for (;;) {
        const char32_t stop = cursor.ReadRun(content, '<');
        if (stop == '<') {
            cursor.PutBack(stop);
            return;
        }
        if (stop == kEndOfText) {
            RAISE(CXMLException("XML: Unclosed tag"));
        }
        if (const char* const fault = ReadReference(content)) {
            RAISE(CXMLException(fault));
        }
    }
}

void CXmlParser::ParseAttributes(CXmlNode& element) {
    for (;;) {
        CUTF8String name = cursor.ReadName();
        if (name.GetLength() == 0) {
            return;
        }
        cursor.SkipBlanks();
        if (cursor.Read() != '=') {
            RAISE(CXMLException("XML: '=' character expected"));
        }
        cursor.SkipBlanks();
        CXmlAttributePtr attribute(new (pool) CXmlAttribute);
        attribute->name = std::move(name);
        attribute->value = ReadValue();
        element.attributes.Append(std::move(attribute));
        cursor.SkipBlanks();
    }
}

/** Reads on in an open element: true where a child begins, false behind the end tag. */
bool CXmlParser::ParseContents(CXmlNode& element) {
    for (;;) {
        const char32_t first = cursor.Read();
        if (first != '<') {
            cursor.PutBack(first);
            ReadContent(element.content);
            cursor.SkipBlanks();
            continue;
        }
        const char32_t second = cursor.Read();
        if (second != '/') {
            cursor.PutBack(second);
            cursor.PutBack(first);
            return true;
        }
        if (cursor.ReadSameName(element.name)) {
            break;
        }
        TraceString0("Warning: XML: Inconsistent ending tag");
        cursor.SkipPast('>');
    }
    cursor.SkipBlanks();
    if (cursor.Read() != '>') {
        RAISE(CXMLException(kNoTagEnd));
    }
    return false;
}

/** Reads the tag behind its "<"; false when the element ends with it. */
bool CXmlParser::ParseElement(CXmlNode& element) {
    const char32_t mark = cursor.Read();
    if (mark != '?') {
        cursor.PutBack(mark);
    }
    CUTF8String name = cursor.ReadName();
    if (name.GetLength() == 0) {
        RAISE(CXMLException("XML: Tag name expected"));
    }
    element.name = mark == '?' ? CUTF8String("?") + name : std::move(name);
    cursor.SkipBlanks();
    ParseAttributes(element);

    const char32_t end = cursor.Read();
    if (mark == '?') {
        if (end != '?' || cursor.Read() != '>') {
            RAISE(CXMLException("XML: '?>' sequence expected"));
        }
        return false;
    }
    if (end == '/') {
        if (cursor.Read() != '>') {
            RAISE(CXMLException(kNoTagEnd));
        }
        return false;
    }
    if (end != '>') {
        RAISE(CXMLException("XML: '>' or '/>' sequence expected"));
    }
    cursor.SkipBlanks();
    return true;
}

CXmlNode& CXmlParser::OpenElement(CXmlNodePtr& root) {
    CXmlNodePtr element(new (pool) CXmlNode);
    open.push_back(element.Get());
    if (open.size() == 1) {
        root = std::move(element);
    } else {
        open[open.size() - 2]->children.Append(std::move(element));
    }
    return *open.back();
}

void CXmlParser::CloseElement() {
    open.pop_back();
    // Behind the root nothing is skipped: what follows the declaration must be the next "<".
    if (!open.empty()) {
        cursor.SkipBlanks();
    }
}

/** Reads an element with all that is in it. */
CXmlNodePtr CXmlParser::ParseElement() {
    CXmlNodePtr root;
    try {
        do {
            if (cursor.Read() != '<') {
                RAISE(CXMLException("XML: '<' character expected"));
            }
            if (!ParseElement(OpenElement(root))) {
                CloseElement();
            }
            while (!open.empty() && !ParseContents(*open.back())) {
                CloseElement();
            }
        } while (!open.empty());
    } catch (...) {
        if (open.empty()) {
            throw;
        }
        // The log shows the failure pass through each element around it.
        for (; open.size() > 1; open.pop_back()) {
            TRACE_RETHROW();
        }
        RERAISE();
    }
    return root;
}

}  // namespace

CXmlNodePtr ParseDocument(const CUTF8String& text) {
    CXmlParser parser(text);
    CXmlNodePtr root = parser.ParseElement();
    if (root->name == "?xml") {
        root = parser.ParseElement();
    }
    return root;
}
