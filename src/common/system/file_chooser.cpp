#include "system/file_chooser.h"

#include "system/host.h"
#include "util/exception.h"
#include "util/raise.h"

#include <cstdio>

namespace {

// CKR_GENERAL_ERROR
constexpr unsigned long kGeneralError = 5;

CUTF8String WithoutNewlines(const CUTF8String& text) {
    const CStringList pieces = text.Split("\n");
    CUTF8String joined;
    for (const CUTF8String& piece : pieces) {
        joined.Append(piece);
    }
    return joined;
}

CUTF8String FromOutput(const std::string& output) {
    return CUTF8String(output.data(), static_cast<ptrdiff_t>(output.size()));
}

}  // namespace

std::string SelectFilesOrFolder(bool multiple) {
    // Kept: the pipe of this question stays open. It tells whether a pipe can be had, not whether
    // the dialog is there: without zenity the shell runs, finds nothing and the choice is empty.
    if (popen("zenity --version", "re") == nullptr) {
        RAISE_CCK(CCkException(kGeneralError, "zenity not installed on this linux"));
    }
    const CUTF8String output = ReadCommand(multiple ? "zenity --file-selection --multiple"
                                                    : "zenity --file-selection --directory");
    return std::string(output.GetText(), output.GetLength());
}

CUTF8String SelectFolder() { return WithoutNewlines(FromOutput(SelectFilesOrFolder(false))); }

CStringList SelectFiles() {
    const CUTF8String output = FromOutput(SelectFilesOrFolder(true));
    CStringList paths;
    if (output.GetLength() == 0) {
        return paths;
    }
    const CStringList pieces = output.Split("|");
    for (const CUTF8String& piece : pieces) {
        paths.Append(WithoutNewlines(piece));
    }
    return paths;
}
