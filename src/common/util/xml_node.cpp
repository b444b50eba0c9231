#include "util/xml_node.h"

#include <cstddef>
#include <vector>

void CXmlNode::Destroy(CXmlNode* node) noexcept {
    while (node != nullptr) {
        CXmlNode* next = node->nextToDestroy;
        // From the last on, so that the first, whose memory lies nearest, is destroyed next.
        for (size_t index = node->children.GetCount(); index-- > 0;) {
            CXmlNode* const left = node->children[index].Detach();
            if (left != nullptr && --left->refCount == 0) {
                left->nextToDestroy = next;
                next = left;
            }
        }
        delete node;
        node = next;
    }
}

namespace {

/** An element whose start tag is written and whose end tag is not. */
struct COpenElement {
    const CXmlNode* node;
    size_t written;  // children
};

const char* ReferenceTo(char unit) {
    switch (unit) {
        case '"':
            return "&quot;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return nullptr;
    }
}

void AppendEscaped(CUTF8String& text, const CUTF8String& value) {
    const char* const units = value.GetText();
    size_t first = 0;
    for (size_t index = 0; index < value.GetLength(); ++index) {
        if (const char* const reference = ReferenceTo(units[index])) {
            text.AppendRaw(units + first, index - first).Append(reference);
            first = index + 1;
        }
    }
    text.AppendRaw(units + first, value.GetLength() - first);
}

/** Writes the start tag, or the whole element when it holds nothing: then false. */
bool AppendStart(CUTF8String& text, const CXmlNode& node) {
    text.Append("<").Append(node.name);
    for (const CXmlAttributePtr& attribute : node.attributes) {
        text.Append(" ").Append(attribute->name).Append("='");
        AppendEscaped(text, attribute->value);
        text.Append("'");
    }
    const bool holdsSomething = node.content.GetLength() > 0 || node.children.GetCount() > 0;
    text.Append(holdsSomething ? ">" : "/>");
    return holdsSomething;
}

void AppendEnd(CUTF8String& text, const CXmlNode& node) {
    // Kept: the content is not escaped. Texts that were read through references lose them here.
    text.Append(node.content).Append("</").Append(node.name).Append(">");
}

}  // namespace

CUTF8String ToXml(const CXmlNode& node) {
    CUTF8String text;
    std::vector<COpenElement> open;
    const CXmlNode* next = &node;
    do {
        if (AppendStart(text, *next)) {
            open.push_back({next, 0});
        }
        while (!open.empty() && open.back().written == open.back().node->children.GetCount()) {
            AppendEnd(text, *open.back().node);
            open.pop_back();
        }
        if (!open.empty()) {
            next = open.back().node->children[open.back().written++].Get();
        }
    } while (!open.empty());
    return text;
}
