/**
 * The grammar of settings files, both ways.
 *
 *     Section {
 *         Key = a value up to the end of the line
 *         Inner {
 *             Flag
 *         }
 *     }
 *
 * There is no comment, no quoting and no escape. Text is UTF-8; a space is what the host's locale
 * takes for one. docs/settings.md tells the rules, odd ones included.
 */
#pragma once

#include "system/config.h"

#include <cstddef>

/** Sections lie at most this deep; what a file holds below is dropped. */
constexpr size_t kDeepestSection = 1000;

/**
 * Adds to an empty root what a text holds; any bytes make some tree. The names, keys and values are
 * well-formed UTF-8 whatever the text was: malformed sequences become "?".
 */
void ParseConfig(CConfig& root, const char* text, size_t length);

/**
 * A section as text, its lines indented by `depth` tabs: first the sections in it, then its
 * entries.
 */
CUTF8String ToText(const CConfig& section, size_t depth);
