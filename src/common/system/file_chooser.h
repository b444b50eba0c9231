/**
 * The choice of files or a folder by the user, in the desktop's own dialog (zenity).
 *
 * All operations block for as long as the dialog is open. Without zenity the result is as if the
 * user had cancelled.
 */
#pragma once

#include "util/string_list.h"

#include <string>

/**
 * Lets the user choose several files when `multiple` is set, otherwise one folder.
 *
 * The result is what the dialog prints: paths, parted by "|", and a line feed; empty when it was
 * cancelled. Throws CCkException with the code CKR_GENERAL_ERROR when no pipe can be had.
 */
std::string SelectFilesOrFolder(bool multiple);

/** The path of the folder that the user chose; empty when the dialog was cancelled. */
CUTF8String SelectFolder();

/** The paths of the files that the user chose; none when the dialog was cancelled. */
CStringList SelectFiles();
