#include "util/exception.h"

#include "support/raised.h"
#include "support/string_print.h"
#include "trace/ck_error_text.h"
#include "util/raise.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <exception>
#include <initializer_list>
#include <sstream>
#include <string>
#include <type_traits>

static_assert(!std::is_base_of_v<std::exception, CException>, "hosts catch std::exception apart");

static std::string Render(uint32_t id, std::initializer_list<const char*> arguments) {
    CEventMessage message(id, 3);
    for (const char* const argument : arguments) {
        message.args << argument;
    }
    return ToStd(RenderMessage(message));
}

/** Code, message, category and words in one line. */
static std::string Describe(const CException& exception) {
    const CEventMessage& message = exception.GetMessage();
    EXPECT_EQ(exception.HasMessage(), message.id != 0);
    std::ostringstream text;
    text << std::hex << exception.GetErrorCode() << ' ' << message.id << ' ' << message.category;
    return text.str() + " " + WordsOf(exception);
}

TEST(Exception, CarriesCodeAndMessageAndSharesThemWithCopies) {
    const CEventMessage message = MakeErrnoMessage(EACCES, 3);
    const std::string denied = "c1010001 3 Permission denied. (13)";
    const std::string text150 = ToStd(GetCkErrorText(0x150));
    EXPECT_EQ(Describe(CException()), "6 0 0 ");
    EXPECT_EQ(Describe(CException(message)), "6 " + denied);
    EXPECT_EQ(Describe(CException(0x30, message)), "30 " + denied);
    EXPECT_EQ(Describe(CException("100% %1")), "6 c1010001 1 100% %1");
    EXPECT_EQ(Describe(CException(7, "bad")), "7 c1010001 1 bad");
    EXPECT_EQ(Describe(CException(0x150)), "150 c1010001 1 " + text150);
    EXPECT_EQ(Describe(CCkException(0x150)), "150 c1010001 1 " + text150);
    CException assigned(1, "old");
    {
        const CCkException original(9, "kept");
        assigned = CException(original);
        assigned = static_cast<const CException&>(assigned);
        EXPECT_EQ(&assigned.GetMessage(), &original.GetMessage());
    }
    EXPECT_EQ(Describe(assigned), "9 c1010001 1 kept");
    EXPECT_EQ(Describe(assigned = CException()), "6 0 0 ");
}

static void PassOn() try { RAISE_CCK(CCkException(0x31)); } catch (...) {
    RERAISE();
}

TEST(Exception, RethrowKeepsTheType) { EXPECT_THROW(PassOn(), CCkException); }

TEST(EventMessage, RendersThroughTheCatalog) {
    const std::string call = "The call to <";
    EXPECT_EQ(Render(0xC1010001, {}), "");
    EXPECT_EQ(Render(0xC1010001, {"%2", "x"}), "%2");
    EXPECT_EQ(Render(0xC1010002, {}), call + "%1> failed for the following reason: %2");
    EXPECT_EQ(Render(0xC1010002, {"open"}), call + "open> failed for the following reason: ");
    EXPECT_EQ(Render(0xC1020002, {"unused"}), "The input/output operation has timed out.");
    EXPECT_EQ(Render(0xC1030007, {"x"}), "");
    const CEventMessage message = MakeTextMessage("a\r\nb\n\u00fc\u20ac");
    EXPECT_STREQ(RenderMessageOneLine(message).GetText(), "a  b \xFC?");
    EXPECT_STREQ(message.args[0].GetText().GetText(), "a\r\nb\n\u00fc\u20ac");
    EXPECT_TRUE(RenderMessageOneLine(CEventMessage()).IsEmpty());
    EXPECT_EQ(GetErrnoText(0), "Success. (0)");
    EXPECT_EQ(GetErrnoText(INT_MIN), "Unknown error -2147483648. (-2147483648)");
    EXPECT_EQ(ToStd(RenderMessage(MakeErrnoMessage("semget", EACCES, 2))),
              call + "semget> failed for the following reason: Permission denied. (13)");
}
