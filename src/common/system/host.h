/**
 * What the program asks its host: commands and their output, the running executable, the paths that
 * follow from it. Everything runs on the calling thread and blocks until the command ends.
 */
#pragma once

#include "util/ct_string.h"

#include <string>

/**
 * The output of a shell command, as it stands, whatever the command's exit status.
 *
 * Commands are constants of the program: never put text from outside into one. Throws
 * std::runtime_error with "popen() failed!" when no pipe can be had.
 */
CUTF8String ReadCommand(const char* command);

/**
 * The output of a shell command without its last character, which is taken for the line's end.
 *
 * Empty when no pipe can be had, which is traced. Throws std::out_of_range when the command prints
 * nothing.
 */
std::string ReadCommandTrimmed(const char* command);

/** The same, but empty too when the command prints nothing. */
std::string RunCommand(const char* command);

/** Where a symbolic link leads, however long that is; empty when it cannot be read. */
CUTF8String ReadLink(const char* link);

/** The path of the running executable; empty when the host does not tell. */
CUTF8String GetExecutablePath();

/** The last part of GetExecutablePath. */
CUTF8String GetExecutableName();

/** The session of the process, getsid. */
int GetSessionId();

/**
 * The processor's name as "uname -m" prints it; the command is run once in a process. Characters
 * from U+0100 on become "?". Empty when no pipe can be had, which is traced.
 */
CISOString GetMachineArchitecture();

/**
 * Where a data file of the product lies: in the product's share directory for an executable below
 * "/usr", beside the executable for any other, so that a build finds its own.
 */
CUTF8String GetDataFilePath(const CUTF8String& name);
