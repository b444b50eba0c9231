#include "util/handled_text.h"

#include "util/exception.h"

#include <exception>

CUTF8String GetHandledText() {
    try {
        throw;
    } catch (const CException& exception) {
        return RenderMessage(exception.GetMessage());
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return {};
    }
}
