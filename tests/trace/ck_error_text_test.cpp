#include "trace/ck_error_text.h"

#include "trace/name_table.h"
#include <qorvs/ck_extensions.h>

#include <gmock/gmock.h>

#include <map>
#include <string>

static std::string TextOf(CK_RV code) { return GetCkErrorText(code).GetText(); }

TEST(CkErrorText, EveryNamedCodeHasASentence) {
    using testing::EndsWith;
    using testing::Not;
    using testing::StartsWith;

    std::map<std::string, const char*> codes;
    for (const CNameRow& row : kErrorNames) {
        const std::string text = TextOf(row.value);
        EXPECT_THAT(text, Not(StartsWith("Code "))) << row.text;
        EXPECT_THAT(text, EndsWith(".")) << row.text;
        const auto [other, isNew] = codes.emplace(text, row.text);
        EXPECT_TRUE(isNew) << row.text << " and " << other->second << ": " << text;
    }
}

TEST(CkErrorText, KeepsItsWords) {
    const struct {
        CK_RV code;
        const char* text;
    } kRows[] = {
        {CKR_OK, "The operation succeeded."},
        {CKR_FUNCTION_FAILED, "The operation failed for some unknown reason. Please try again."},
        {CKR_CANCEL, "The operation was canceled."},
        {CKR_FUNCTION_CANCELED, "The operation has been cancelled."},
        {CKR_BUFFER_TOO_SMALL,
         "The output of the function is too large to fit in the supplied buffer."},

        // Kept: the misspelt ones. Logs are matched on these words.
        {CKR_ARGUMENTS_BAD, "Bad argument were passed to the function."},
        {CKR_USER_NOT_LOGGED_IN,
         "The appropriate user is not logged in. You dont' have the right to perform this "
         "operation."},
        {CXR_CONTAINER_EXISTS,
         "The selected container already exist and operation cannot be performed."},
        {CXR_NEEDS_REMOUNT, "The token need to be mounted again."},
        {CXR_AID_NOT_IN_PLIST_FILE,
         "The AID of the card is not recognized, please be sure to add the correct card AID in the "
         "info.plis file."},
        {CXR_BROKEN_AUTHENTICATION, "Secure chanel is broken."},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(TextOf(row.code), row.text);
    }
}

TEST(CkErrorText, OtherCodesAreWrittenWithAllTheirDigits) {
    EXPECT_EQ(TextOf(0x4), "Code 0x00000004");
    EXPECT_EQ(TextOf(0x80000063), "Code 0x80000063");
    EXPECT_EQ(TextOf(0x100000000), "Code 0x100000000");
    EXPECT_EQ(TextOf(0xFEDCBA9876543210), "Code 0xFEDCBA9876543210");
}
