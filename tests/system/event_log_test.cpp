#include "system/event_log.h"

#include "system/catalog.h"

#include <gmock/gmock.h>

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct CSysLogCall {
    int priority;
    std::string text;
};

std::vector<CSysLogCall> calls;
std::vector<std::string> openings;

void Record(int priority, const char* format, va_list args) {
    char text[1024];
    vsnprintf(text, sizeof(text), format, args);
    calls.push_back({priority, text});
}

}  // namespace

// These take the place of the C library's operations in the whole test program. The labels keep
// them apart from its headers, which may define the same names inline.
extern "C" {

void RecordOpenlog(const char* ident, int option, int facility) __asm__("openlog");
void RecordOpenlog(const char* ident, int option, int facility) {
    openings.push_back(ident + std::string(" ") + std::to_string(option) + " " +
                       std::to_string(facility));
}

void RecordCloselog() __asm__("closelog");
void RecordCloselog() { fputs("closelog was called\n", stderr); }

void RecordSyslog(int priority, const char* format, ...) __asm__("syslog");
void RecordSyslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    Record(priority, format, args);
    va_end(args);
}

void RecordCheckedSyslog(int priority, int flag, const char* format, ...) __asm__("__syslog_chk");
void RecordCheckedSyslog(int priority, int /*flag*/, const char* format, ...) {
    va_list args;
    va_start(args, format);
    Record(priority, format, args);
    va_end(args);
}
}

static CUTF8FmtArgs Args(std::initializer_list<const char*> texts) {
    CUTF8FmtArgs args;
    for (const char* text : texts) {
        args << CUTF8String(text);
    }
    return args;
}

TEST(EventLog, ReportsUnderThePriorityOfTheSeverity) {
    const struct {
        const char* name;
        CEventMessage message;
        int priority;
        const char* text;
    } kRows[] = {
        {"informational",
         {0x41030001, 2, Args({"cache"})},
         LOG_INFO,
         "[Service management] The service \"cache\" successfully started."},
        {"warning, several lines",
         {0x81030007, 2, Args({"a", "b"})},
         LOG_WARNING,
         "[Service management] Unable to update status of service \"a\".\nb"},
        // Kept: errors, and messages of no severity, are critical. Monitoring filters on the
        // priority.
        {"error",
         {0xC1020002, 3},
         LOG_CRIT,
         "[IO subsystem] The input/output operation has timed out."},
        {"internal", {0x00000006, 6}, LOG_CRIT, "[Logging] Logging"},
        {"text that looks like a format",
         {0xC1010001, 1, Args({"100%s %n"})},
         LOG_CRIT,
         "[System error] 100%s %n"},
        {"text without arguments", {0xC1010001, 1}, LOG_CRIT, "[System error] "},
        {"placeholders without arguments",
         {0xC1010002, 1},
         LOG_CRIT,
         "[System error] The call to <%1> failed for the following reason: %2"},
        {"unknown id", {0x81060001, 6, Args({"x"})}, LOG_WARNING, "[Logging] "},
        {"no category",
         {0xC1020001, 0},
         LOG_CRIT,
         "[(null)] The input/output operation has been cancelled."},
        {"category below zero",
         {0xC1020001, -4094},
         LOG_CRIT,
         "[(null)] The input/output operation has been cancelled."},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        calls.clear();
        GetEventLog().Report(row.message);
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].priority, LOG_USER | row.priority);
        EXPECT_EQ(calls[0].text, row.text);
    }
}

TEST(EventLog, IsOpenedOnceAndClosedAtExit) {
    EXPECT_EQ(&GetEventLog(), &GetEventLog());
    EXPECT_THAT(openings,
                testing::ElementsAre("qorvs 0 " + std::to_string(static_cast<int>(LOG_USER))));
    EXPECT_EXIT(exit(0), testing::ExitedWithCode(0), "^closelog was called\n$");
}

TEST(Catalog, KnowsItsEntriesAndNoOthers) {
    const struct {
        uint32_t id;
        const char* begin;
    } kRows[] = {
        {1, "System error"},
        {4, "Global cache"},
        {5, "Smartcard subsystem"},
        {0xF002, "Provides mechanisms to share"},
        {0x81030011, "The service \"%1\" is not installed"},
        {0xC1030009, "Service \"%1\" could not be installed.\n%2"},
        {0xC1030010, "Service \"%1\" could not be uninstalled.\n%2"},
        {0xC1030013, "The service process has been signaled"},
        {0xC1040002, "There has been a problem during an exchange"},
        {0xC1060001, "Unable to create log file %1.\n%2\nNo logs will be generated."},
    };
    for (const auto& row : kRows) {
        ASSERT_NE(GetCatalogText(row.id), nullptr) << row.id;
        EXPECT_THAT(GetCatalogText(row.id), testing::StartsWith(row.begin));
    }
    for (const uint32_t id : {0U, 7U, 0xC103000AU, 0xC1030011U, 0x41020001U, 0xFFFFFFFFU}) {
        EXPECT_EQ(GetCatalogText(id), nullptr) << id;
    }
}

TEST(Catalog, NamesSeveritiesAndFacilities) {
    const char* const kSeverities[] = {"Internal", "Informational", "Warning", "Error", nullptr};
    for (uint32_t severity = 0; severity < 5; ++severity) {
        EXPECT_STREQ(GetSeverityName(severity), kSeverities[severity]);
    }
    const char* const kFacilities[] = {nullptr, "System", "IO",  "Service",
                                       "Cache", "SCard",  "Log", nullptr};
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_STREQ(GetFacilityName(0x100 + i), kFacilities[i]);
    }
}
