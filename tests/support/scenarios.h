/**
 * Scenarios of vector files, each in a process of its own.
 */
#pragma once

#include <string>

/**
 * Runs `program` for each case of a vector file, in a home of its own.
 *
 * A case is a command, its parts parted by "|"; a file that lies in the home; what the program
 * prints and, up to the numbers of lines, traces: without a log_text the log is off. "~" stands for
 * the home and a slash.
 */
void RunScenarios(const std::string& program, const std::string& file);
