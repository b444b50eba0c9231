/**
 * Reading of small XML documents: elements, attributes, text, comments, processing instructions and
 * the five references of XML's own. There is no document type, no CDATA, no reference by number.
 */
#pragma once

#include "util/exception.h"
#include "util/xml_node.h"

/** A document that cannot be read; the text says what was expected. Thrown with RAISE. */
class CXMLException : public CException {
public:
    using CException::CException;
};

/**
 * The root element of a document, or the one behind it when the first is "<?xml ...?>". What
 * follows is not looked at.
 *
 * The document begins with "<", and nothing stands between the declaration and the root: a line end
 * there is refused as well. An end tag of another name than the open element's is ignored, with a
 * warning in the log. Names, values and contents are well-formed UTF-8 whatever the document was:
 * malformed sequences become "?".
 *
 * Time and memory grow with the length of the text; nesting has no limit. Throws CXMLException, and
 * the log has a line for the place and one for each element around it.
 */
CXmlNodePtr ParseDocument(const CUTF8String& text);
