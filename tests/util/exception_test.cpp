#include "util/exception.h"

#include "support/raised.h"
#include "support/string_print.h"
#include "trace/ck_error_text.h"
#include "util/raise.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <exception>
#include <sstream>
#include <string>
#include <type_traits>

static_assert(!std::is_base_of_v<std::exception, CException>, "hosts catch std::exception apart");

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
    EXPECT_EQ(Describe(CException("100% %1")), "6 c1010001 1 100% %1");
    EXPECT_EQ(Describe(CCkException(0x150)), "150 c1010001 1 " + text150);
    CException assigned(1, "old");
    {
        const CCkException original(9, "kept");
        assigned = CException(original);
        EXPECT_EQ(&assigned.GetMessage(), &original.GetMessage());
    }
    EXPECT_EQ(Describe(assigned), "9 c1010001 1 kept");
}

static void PassOn() try { RAISE_CCK(CCkException(0x31)); } catch (...) {
    RERAISE();
}

TEST(Exception, RethrowKeepsTheType) { EXPECT_THROW(PassOn(), CCkException); }

TEST(EventMessage, RendersThroughTheCatalog) {
    const std::string call = "The call to <";
    CEventMessage failed(0xC1010002, 3);
    const std::string words = "> failed for the following reason: ";
    EXPECT_EQ(ToStd(RenderMessage(failed)), call + "%1" + words + "%2");
    failed.args << "open";
    EXPECT_EQ(ToStd(RenderMessage(failed)), call + "open" + words);
    failed.id = 0xC1030007;
    EXPECT_EQ(ToStd(RenderMessage(failed)), "");
    const CEventMessage message = MakeTextMessage("a\r\nb\n\u00fc\u20ac");
    EXPECT_STREQ(RenderMessageOneLine(message).GetText(), "a  b \xFC?");
    EXPECT_EQ(GetErrnoText(INT_MIN), "Unknown error -2147483648. (-2147483648)");
    EXPECT_EQ(ToStd(RenderMessage(MakeErrnoMessage("semget", EACCES, 2))),
              call + "semget> failed for the following reason: Permission denied. (13)");
}
