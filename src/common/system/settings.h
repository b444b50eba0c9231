/**
 * The product's settings: one operation for each key of the section SecuritySuite.
 *
 * Unless told otherwise they are read from the system's settings as the process first found them.
 * Any thread may call at any time.
 */
#pragma once

#include "util/ct_string.h"

#include <cstdint>

int32_t GetLoginPersistentCSP();
bool IsLoginPersistentCSP();

int32_t GetLoginPersistent();
bool IsLoginPersistent();

/** In seconds; 30 when not set. */
int32_t GetLoginTimeout();

/** In milliseconds, modulo 2^32. */
uint32_t GetLoginTimeoutMs();

/**
 * The low bit of LoginTimeout; false when it is not set.
 *
 * Kept: so an even timeout counts as not set. Modules go by the answer.
 */
bool IsLoginTimeoutSet();

/** The low bit of SerialNumberAsGuid; false when it is not set. */
bool IsSerialNumberAsGuid();

bool IsPinSessionCacheEnabled();

/** Whether the policy of the user's settings, read afresh, is ENFORCE_TSLQC. */
bool IsPolicyEnforceTslQc();

/** "ENFORCE_TSLQC" for 1, otherwise "ANY". */
const char* GetVerificationPolicyName(int32_t policy);

/**
 * The address of the timestamp authority, or null. The first that is found is kept for as long as
 * the process lives. Characters from U+0100 on become "?".
 */
const char* GetTsaUrl();

/**
 * The address of the JSON timestamp service, with which the addresses of its requests begin. Empty
 * when there is no such service.
 */
CUTF8String GetTsaServiceUrl();

/** Where the service's bearer tokens are asked for, and with which credentials. */
CUTF8String GetTsaTokenUrl();
CUTF8String GetTsaClientId();
CUTF8String GetTsaClientSecret();

/** Whether the trust list has no address or no certificate. */
bool IsTslConfigMissing();

/**
 * Whether any of four files, read afresh, has EnableTrace other than 0: those of the system and of
 * the user, then the persistent ones of both.
 */
bool IsTraceEnabled();

/** The directory of the log files; empty when not set. */
CUTF8String GetTraceDirectory();
