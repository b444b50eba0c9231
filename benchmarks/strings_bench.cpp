/**
 * Strings beside what a user would pick instead: std::string, the C library and ICU's reader.
 *
 * Each pair does the same work on the same texts, ours and then the peer's.
 */
#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_ICU
#include <unicode/utf8.h>
#endif

#include "util/ct_string.h"

#include <cstring>
#include <string>

namespace {

constexpr char kShort[] = "0123456789abcdef";

// Letters and blanks like those of a log; no part of it holds the text that is searched.
std::string Ascii(size_t length) {
    const std::string line = "Entering C_GetAttributeValue with session 0x00010001 and handle 42. ";
    std::string text;
    while (text.size() < length) {
        text += line;
    }
    return text.substr(0, length);
}

std::string Mixed(size_t length) {
    const std::string line =
        "Carte d'identit\xC3\xA9, \xD0\xBF\xD0\xB0\xD1\x81\xD0\xBF\xD0\xBE\xD1"
        "\x80\xD1\x82, \xE6\x97\x85\xE5\x88\xB8, \xF0\x9F\x98\x80 and ASCII. ";
    std::string text;
    while (text.size() < length) {
        text += line;
    }
    return text;
}

void Copy_Ours(benchmark::State& state) {
    const CUTF8String text(Ascii(1024).c_str());
    for (auto _ : state) {
        CUTF8String copy(text);
        benchmark::DoNotOptimize(copy);
    }
}
void Copy_Std(benchmark::State& state) {
    const std::string text = Ascii(1024);
    for (auto _ : state) {
        std::string copy(text);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Copy_Ours);
BENCHMARK(Copy_Std);

template <class String>
void FromLiteral(benchmark::State& state) {
    for (auto _ : state) {
        String text(kShort);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK_TEMPLATE(FromLiteral, CUTF8String);
BENCHMARK_TEMPLATE(FromLiteral, std::string);

template <class String>
void FromText(benchmark::State& state) {
    const std::string source = Ascii(1024);
    const char* text = source.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        String built(text);
        benchmark::DoNotOptimize(built);
    }
}
BENCHMARK_TEMPLATE(FromText, CUTF8String);
BENCHMARK_TEMPLATE(FromText, std::string);

void AppendBytes_Ours(benchmark::State& state) {
    for (auto _ : state) {
        CUTF8String text;
        for (int i = 0; i < 1000; ++i) {
            text.Append(static_cast<char32_t>('a' + i % 26));
        }
        benchmark::DoNotOptimize(text);
    }
}
void AppendBytes_Std(benchmark::State& state) {
    for (auto _ : state) {
        std::string text;
        for (int i = 0; i < 1000; ++i) {
            text.push_back(static_cast<char>('a' + i % 26));
        }
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(AppendBytes_Ours);
BENCHMARK(AppendBytes_Std);

CUTF8String& AppendTo(CUTF8String& text, const CUTF8String& piece) { return text.Append(piece); }
CUTF8String& AppendTo(CUTF8String& text, const char* piece) { return text.Append(piece); }
std::string& AppendTo(std::string& text, const std::string& piece) { return text.append(piece); }
std::string& AppendTo(std::string& text, const char* piece) { return text.append(piece); }

template <class String, class Piece>
void AppendPieces(benchmark::State& state) {
    Piece piece = kShort;
    for (auto _ : state) {
        String text;
        for (int i = 0; i < 200; ++i) {
            benchmark::DoNotOptimize(piece);
            AppendTo(text, piece);
        }
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK_TEMPLATE(AppendPieces, CUTF8String, CUTF8String);
BENCHMARK_TEMPLATE(AppendPieces, std::string, std::string);
BENCHMARK_TEMPLATE(AppendPieces, CUTF8String, const char*);
BENCHMARK_TEMPLATE(AppendPieces, std::string, const char*);

template <class String>
void AppendLiterals(benchmark::State& state) {
    for (auto _ : state) {
        String text;
        for (int i = 0; i < 200; ++i) {
            AppendTo(text, "0123456789abcdef");
        }
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK_TEMPLATE(AppendLiterals, CUTF8String);
BENCHMARK_TEMPLATE(AppendLiterals, std::string);

void Compare_Ours(benchmark::State& state) {
    const std::string source = Ascii(1024);
    CUTF8String left(source.c_str());
    CUTF8String right(source.c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(left);
        benchmark::DoNotOptimize(left.Compare(right));
    }
}
void Compare_Std(benchmark::State& state) {
    std::string left = Ascii(1024);
    std::string right = Ascii(1024);
    for (auto _ : state) {
        benchmark::DoNotOptimize(left);
        benchmark::DoNotOptimize(left.compare(right));
    }
}
BENCHMARK(Compare_Ours);
BENCHMARK(Compare_Std);

void Find_Ours(benchmark::State& state) {
    CUTF8String text((Ascii(64 * 1024) + kShort).c_str());
    const CUTF8String wanted(kShort);
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(text.Find(wanted));
    }
}
void Find_Strstr(benchmark::State& state) {
    const std::string source = Ascii(64 * 1024) + kShort;
    const char* text = source.c_str();
    const char* wanted = kShort;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(wanted);
        benchmark::DoNotOptimize(std::strstr(text, wanted));
    }
}
BENCHMARK(Find_Ours);
BENCHMARK(Find_Strstr);

void Decode_Ours(benchmark::State& state, std::string (*make)(size_t)) {
    const std::string source = make(4096);
    CUTF8String text(source.data(), static_cast<ptrdiff_t>(source.size()));
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        uint32_t sum = 0;
        auto at = text.Begin();
        for (char32_t read; (read = text.Next(at)) != kEndOfText;) {
            sum += read;
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK_CAPTURE(Decode_Ours, ascii, Ascii);
BENCHMARK_CAPTURE(Decode_Ours, mixed, Mixed);

#ifdef QORVS_HAVE_ICU
void Decode_Icu(benchmark::State& state, std::string (*make)(size_t)) {
    const std::string source = make(4096);
    const char* text = source.data();
    const auto length = static_cast<int32_t>(source.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        uint32_t sum = 0;
        for (int32_t i = 0; i < length;) {
            UChar32 read = 0;
            U8_NEXT(text, i, length, read);
            sum += static_cast<uint32_t>(read);
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK_CAPTURE(Decode_Icu, ascii, Ascii);
BENCHMARK_CAPTURE(Decode_Icu, mixed, Mixed);
#endif

}  // namespace
