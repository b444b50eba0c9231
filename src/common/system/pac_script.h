/**
 * Proxy auto-configuration scripts, evaluated by QuickJS.
 */
#pragma once

#include "util/ct_string.h"

/**
 * What the script's FindProxyForURL(url, host) returns, as text with every "PROXY " removed; empty
 * when the script fails, which is traced with the script.
 *
 * The script runs in a context of its own with the language's standard objects and nothing else: no
 * isInNet, no dnsResolve. It may use 64 MiB and ten seconds; beyond either it fails like one that
 * throws. It runs in a child process, which is gone when the call returns. Any thread may call.
 */
CUTF8String EvaluatePacScript(const CISOString& script, const char* urlText,
                              const CUTF8String& host);
