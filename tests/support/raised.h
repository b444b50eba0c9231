/**
 * Checks on what a call throws and on the words that come with it.
 */
#pragma once

#include "util/event_message.h"
#include "util/exception.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>

/** The words of an exception. A family without these bases adds an overload beside its class. */
inline std::string WordsOf(const CException& exception) {
    const CUTF8String text = RenderMessage(exception.GetMessage());
    return {text.GetText(), text.GetLength()};
}
inline std::string WordsOf(const std::exception& exception) { return exception.what(); }

/** The words of the exception that a call throws, or in brackets that it throws no such one. */
template <class Exception, class Call>
std::string WordsRaisedBy(Call call) {
    try {
        call();
    } catch (const Exception& exception) {
        return WordsOf(exception);
    } catch (const CException& exception) {
        return "(another CException) " + WordsOf(exception);
    } catch (...) {
        return "(another exception)";
    }
    return "(no exception)";
}

/** Expects that `call`, any statement, throws `Exception` or a class made from it, with `words`. */
#define EXPECT_RAISED(Exception, words, call) \
    EXPECT_EQ(WordsRaisedBy<Exception>([&] { static_cast<void>(call); }), words)
