/**
 * What an exception says, whatever it is.
 */
#pragma once

#include "util/ct_string.h"

/**
 * The words of the exception that is being handled; empty for types that have none. Only in a
 * handler.
 */
CUTF8String GetHandledText();
