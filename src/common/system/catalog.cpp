#include "system/catalog.h"

#include "trace/name_table.h"

static constexpr CNameRow kTextRows[] = {
    // categories
    {1, "System error"},
    {2, "Service management"},
    {3, "IO subsystem"},
    {4, "Global cache"},
    {5, "Smartcard subsystem"},
    {6, "Logging"},

    // the description of the service
    {0xF002,
     "Provides mechanisms to share smart card and token data among processes. If this service is "
     "disabled, you will not be able to use the keys and certificates stored in your cryptographic "
     "tokens."},

    // service, informational
    {0x41030001, "The service \"%1\" successfully started."},
    {0x41030002, "The service \"%1\" has been successfully stopped."},

    // service, warnings
    {0x81030006, "The service \"%1\" received an invalid opcode (%2)."},
    {0x81030007, "Unable to update status of service \"%1\".\n%2"},
    {0x81030008,
     "The service \"%1\" has encountered a problem but could recover:\n%2\nThe service is still "
     "running."},
    {0x81030011,
     "The service \"%1\" is not installed and has been launched as a simple user process.\nThis "
     "may cause synchronization or access right problems if several users want to use it at the "
     "same time."},

    // system
    {0xC1010001, "%1"},
    {0xC1010002, "The call to <%1> failed for the following reason: %2"},
    {0xC1010003, "The call to <%1> succeeded but returned an unexpected value: %2."},
    {0xC1010004, "An internal error has been raised.\n%1"},

    // input and output
    {0xC1020001, "The input/output operation has been cancelled."},
    {0xC1020002, "The input/output operation has timed out."},
    {0xC1020003, "The input data is incorrectly formatted."},
    {0xC1020004,
     "Another process is already listening on this socket. Please check that the service is not "
     "already running."},
    {0xC1020005,
     "The socket is unavailable for connection. Please check that the appropriate service is "
     "running."},

    // service, errors
    {0xC1030003,
     "The service \"%1\" could not be started. Please check that it has been installed "
     "correctly.\nDetails of the failure reason are given below:\n%2\nReinstalling the software "
     "may correct the problem."},
    {0xC1030004,
     "The initialization phase of service \"%1\" failed. The service has not been started.\n%2"},
    {0xC1030005, "The service \"%1\" has encountered a problem. The service has been stopped.\n%2"},
    {0xC1030009, "Service \"%1\" could not be installed.\n%2"},
    {0xC1030010, "Service \"%1\" could not be uninstalled.\n%2"},
    {0xC1030012, "The service was too long to initialize itself."},
    {0xC1030013,
     "The service process has been signaled or has exited while starting up. More detailed "
     "information may have been reported in the logs.\nStatus is %1."},

    // cache
    {0xC1040001,
     "Unable to connect to the global cache service. Please check that the service is "
     "running.\n%1"},
    {0xC1040002,
     "There has been a problem during an exchange with the cache server.\n%1\nThe connection has "
     "probably been terminated."},

    // log
    {0xC1060001, "Unable to create log file %1.\n%2\nNo logs will be generated."},
};

static constexpr CNameRow kSeverityRows[] = {
    {0, "Internal"},
    {1, "Informational"},
    {2, "Warning"},
    {3, "Error"},
};

static constexpr CNameRow kFacilityRows[] = {
    {0x101, "System"}, {0x102, "IO"},    {0x103, "Service"},
    {0x104, "Cache"},  {0x105, "SCard"}, {0x106, "Log"},
};

static constexpr CNameTable kTexts = MakeNameTable<kTextRows>();
static constexpr CNameTable kSeverityNames = MakeNameTable<kSeverityRows>();
static constexpr CNameTable kFacilityNames = MakeNameTable<kFacilityRows>();

const char* GetCatalogText(uint32_t id) noexcept { return kTexts.Find(id); }

const char* GetSeverityName(uint32_t severity) noexcept { return kSeverityNames.Find(severity); }

const char* GetFacilityName(uint32_t facility) noexcept { return kFacilityNames.Find(facility); }
