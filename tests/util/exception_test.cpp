#include "util/exception.h"

#include "trace/ck_error_text.h"
#include "util/raise.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <exception>
#include <string>
#include <type_traits>

static std::string ToStd(const CUTF8String& text) { return {text.GetText(), text.GetLength()}; }

static_assert(!std::is_base_of_v<std::exception, CException>, "hosts catch std::exception apart");

static CEventMessage MessageOf(uint32_t id, std::initializer_list<const char*> arguments) {
    CEventMessage message(id, 3);
    for (const char* const argument : arguments) {
        message.args << argument;
    }
    return message;
}

TEST(Exception, ConstructorsGiveCodeAndMessage) {
    const CEventMessage message = MessageOf(0x41030001, {"cache"});
    const std::string started = "The service \"cache\" successfully started.";
    static const struct {
        const char* name;
        CException exception;
        unsigned long code;
        uint32_t id;
        int16_t category;
        std::string text;
    } kRows[] = {
        {"nothing", CException(), 6, 0, 0, ""},
        {"message", CException(message), 6, 0x41030001, 3, started},
        {"code and message", CException(0x30, message), 0x30, 0x41030001, 3, started},
        {"text", CException("100% %1"), 6, 0xC1010001, 1, "100% %1"},
        {"code and text", CException(7, "bad"), 7, 0xC1010001, 1, "bad"},
        {"code", CException(0x150), 0x150, 0xC1010001, 1, ToStd(GetCkErrorText(0x150))},
        {"Cryptoki", CCkException(0x150), 0x150, 0xC1010001, 1, ToStd(GetCkErrorText(0x150))},
        {"Cryptoki text", CCkException(7, "bad"), 7, 0xC1010001, 1, "bad"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.exception.GetErrorCode(), row.code);
        EXPECT_EQ(row.exception.HasMessage(), row.id != 0);
        EXPECT_EQ(row.exception.GetMessage().id, row.id);
        EXPECT_EQ(row.exception.GetMessage().category, row.category);
        EXPECT_EQ(ToStd(RenderMessage(row.exception.GetMessage())), row.text);
    }
}

TEST(Exception, CopiesShareTheMessage) {
    CException assigned(1, "old");
    {
        const CCkException original(9, "kept");
        CException copy(original);
        assigned = copy;
        assigned = static_cast<const CException&>(assigned);
        EXPECT_EQ(&copy.GetMessage(), &original.GetMessage());
    }
    EXPECT_EQ(assigned.GetErrorCode(), 9u);
    EXPECT_EQ(ToStd(RenderMessage(assigned.GetMessage())), "kept");
    assigned = CException();
    EXPECT_FALSE(assigned.HasMessage());
}

static void PassOn() {
    try {
        RAISE_CCK(CCkException(0x31));
    } catch (...) {
        RERAISE();
    }
}

TEST(Exception, RethrowKeepsTheType) { EXPECT_THROW(PassOn(), CCkException); }

TEST(EventMessage, RendersThroughTheCatalog) {
    static const struct {
        uint32_t id;
        std::initializer_list<const char*> arguments;
        const char* expected;
    } kRows[] = {
        {0xC1010001, {}, ""},
        {0xC1010001, {"%2", "x"}, "%2"},
        {0xC1010002, {}, "The call to <%1> failed for the following reason: %2"},
        {0xC1010002, {"open"}, "The call to <open> failed for the following reason: "},
        {0xC1010002, {"open", "%1"}, "The call to <open> failed for the following reason: %1"},
        {0xC1020002, {"unused"}, "The input/output operation has timed out."},
        {0xC1030007, {"x"}, ""},
        {0, {}, ""},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(ToStd(RenderMessage(MessageOf(row.id, row.arguments))), row.expected);
    }
}

TEST(EventMessage, RendersOnOneLine) {
    const CEventMessage message = MakeTextMessage("a\r\nb\n\u00fc\u20ac");
    EXPECT_STREQ(RenderMessageOneLine(message).GetText(), "a  b \xFC?");
    EXPECT_STREQ(message.args[0].GetText().GetText(), "a\r\nb\n\u00fc\u20ac");
    EXPECT_TRUE(RenderMessageOneLine(CEventMessage()).IsEmpty());
}

TEST(EventMessage, OfErrno) {
    EXPECT_EQ(ToStd(GetErrnoText(EACCES)), "Permission denied. (13)");
    EXPECT_EQ(ToStd(GetErrnoText(0)), "Success. (0)");
    EXPECT_EQ(ToStd(GetErrnoText(-5)), "Unknown error -5. (-5)");
    EXPECT_EQ(ToStd(GetErrnoText(INT_MIN)), "Unknown error -2147483648. (-2147483648)");
    EXPECT_EQ(ToStd(RenderMessage(MakeErrnoMessage(EACCES, 2))), "Permission denied. (13)");
    const CEventMessage message = MakeErrnoMessage("semget", EACCES, 2);
    EXPECT_EQ(message.category, 2);
    EXPECT_EQ(ToStd(RenderMessage(message)),
              "The call to <semget> failed for the following reason: Permission denied. (13)");
}
