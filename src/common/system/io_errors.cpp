#include "system/io_errors.h"

#include <errno.h>

EIOSocketClosed::EIOSocketClosed() : EIOError(MakeErrnoMessage(ESHUTDOWN, kIoCategory)) {}
