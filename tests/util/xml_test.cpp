#include "support/log_capture.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/xml_parser.h"
#include <qorvs/trace.h>

#include <gtest/gtest.h>

#include <stdlib.h>
#include <unistd.h>

#include <clocale>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

static CXmlNodePtr Parse(const std::string& document) {
    return ParseDocument(CUTF8String(document.data(), static_cast<ptrdiff_t>(document.size())));
}

/** The bytes as they are, or in hexadecimal as the public cases have them. */
static std::string Shown(const CUTF8String& text, bool inHex) {
    std::string hex;
    for (const unsigned char byte : ToStd(text)) {
        hex += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    }
    return inHex ? hex : ToStd(text);
}

/** A tree as name(attribute=value,..)[child,..]content. */
static std::string Describe(const CXmlNode& node, bool inHex) {
    std::string text = ToStd(node.name) + "(";
    for (const CXmlAttributePtr& attribute : node.attributes) {
        text += text.back() == '(' ? "" : ",";
        text += ToStd(attribute->name) + "=" + Shown(attribute->value, inHex);
    }
    text += ")[";
    for (const CXmlNodePtr& child : node.children) {
        text += (text.back() == '[' ? "" : ",") + Describe(*child, inHex);
    }
    return text + "]" + Shown(node.content, inHex);
}

/** "OK" and the tree of a document, or "THROW" and the words. */
static std::string Outcome(const std::string& document, bool inHex) {
    CXmlNodePtr root;
    const std::string words = WordsRaisedBy<CXMLException>([&] { root = Parse(document); });
    return root ? "OK " + Describe(*root, inHex) : "THROW " + words;
}

static std::string FileContent(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Xml, ReadsThePublicCases) {
    const std::string folder = QORVS_SHARED_VECTORS "/xml_cases/";
    const std::string cases = FileContent(folder + "expected.txt");
    if (cases.empty()) {
        GTEST_SKIP() << "the public test vectors are not on this machine";
    }
    static const std::regex kCase("\n([^#\t]+)\t[a-z]+\t(OK [^\t]+|THROW [^*\t]*|)");
    for (std::sregex_iterator row(cases.begin(), cases.end(), kCase), end; row != end; ++row) {
        const std::string expected = row->str(2);
        const std::string outcome = Outcome(FileContent(folder + row->str(1)), true);
        const bool anyWords = expected == "THROW " || expected.empty();
        EXPECT_EQ(anyWords ? outcome.substr(0, expected.size()) : outcome, expected) << row->str(1);
    }
}

static std::string Outcome(const CStanza& row) {
    setlocale(LC_CTYPE, row.Has("locale_text") ? row.Text("locale_text").c_str() : "C");
    const std::string outcome = Outcome(row.Text("text_text"), false);
    setlocale(LC_CTYPE, "C");
    return outcome;
}

/** The log lines of each row, without what goes before and behind their words. */
static std::vector<std::string> LogsOf(const std::vector<CStanza>& rows) {
    const CLogHome home;
    setenv("QORVS_CONFFILE", home.Path("qorvs.conf").c_str(), 1);
    EXPECT_EXIT(
        {
            for (const CStanza& row : rows) {
                TraceString0("next");
                Outcome(row);
            }
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    unsetenv("QORVS_CONFFILE");
    static const std::regex kNoise("^[.]+ |'WARNING Exception raised(' in)? |' in |, line .*");
    std::vector<std::string> logs;
    for (const CLogLine& line : home.Log().lines) {
        const std::string text = regex_replace(line.text, kNoise, "");
        if (text == "next") {
            logs.emplace_back();
        } else if (!logs.empty()) {
            logs.back() += text + ";";
        }
    }
    return logs;
}

TEST(XmlDeathTest, ReadsWritesAndTracesAsItsRulesSay) {
    const std::vector<CStanza> rows = ReadStanzas("util/xml.txt");
    const std::vector<std::string> logs = LogsOf(rows);
    ASSERT_EQ(logs.size(), rows.size());
    auto log = logs.begin();
    for (const CStanza& row : rows) {
        SCOPED_TRACE(row.Name());
        EXPECT_EQ(Outcome(row), row.Text("expected_text"));
        EXPECT_EQ(*log++, row.Has("log_text") ? row.Text("log_text") : "");
        if (row.Has("written_text")) {
            EXPECT_EQ(ToStd(ToXml(*Parse(row.Text("text_text")))), row.Text("written_text"));
        }
    }
}

TEST(Xml, DepthIsBoundByTheHeapAlone) {
    std::string document = "<a>";
    std::string ends = "</a>";
    for (int doubling = 0; doubling < 17; ++doubling) {
        document += document;
        ends += ends;
    }
    EXPECT_THROW(Parse(document), CXMLException);
    document += "x" + ends;
    EXPECT_EQ(ToStd(ToXml(*Parse(document))), document);
}

TEST(Xml, NodesLiveAsLongAsTheyAreHeld) {
    CXmlNodePtr root = Parse("<a><b><c d='1'/></b><b/></a>");
    const CXmlNodePtr kept = root->children[0];
    const CXmlAttributePtr attribute = kept->children[0]->attributes[0];
    root = CXmlNodePtr();
    EXPECT_EQ(Describe(*kept, false), "b()[c(d=1)[]]");
    kept->children.Remove(0);
    EXPECT_EQ(attribute->refCount, 1);
}
