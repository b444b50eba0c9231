// Any bytes make a tree or the reader's own exception. Without text between the tags, and without
// instructions, what is written of the tree reads back the same.
#include "util/xml_parser.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

static bool IsWritable(const CXmlNode& node) {
    std::vector<const CXmlNode*> left{&node};
    while (!left.empty()) {
        const CXmlNode& next = *left.back();
        left.pop_back();
        if (next.content.GetLength() > 0 || next.name.GetText()[0] == '?') {
            return false;
        }
        for (const CXmlNodePtr& child : next.children) {
            left.push_back(child.Get());
        }
    }
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CUTF8String document(reinterpret_cast<const char*>(data), static_cast<ptrdiff_t>(size));
    try {
        const CXmlNodePtr root = ParseDocument(document);
        const CUTF8String written = ToXml(*root);
        if (IsWritable(*root) && ToXml(*ParseDocument(written)) != written) {
            std::abort();
        }
    } catch (const CXMLException&) {
        return 0;
    }
    return 0;
}
