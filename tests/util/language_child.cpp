/**
 * Does what its arguments say, in order, with languages, resources and downloads: each is a command
 * of the table below, "=" and its argument. What comes of it is printed, one line a command. Paths
 * are relative to HOME.
 */
#include "system/download_thread.h"
#include "system/downloader.h"
#include "util/exception.h"
#include "util/language.h"
#include "util/language_files.h"
#include "util/resources.h"

#include <miniz.h>

#include <errno.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using CText = std::string;
using CArgument = const char*;

static std::unique_ptr<CResManager> ownManager;
static std::optional<Downloader> downloader;

static CText Number(int number) { return std::to_string(number); }

static CResManager& Manager() { return ownManager ? *ownManager : GetResManager(); }

// A signal comes in the middle of each whole second.
extern "C" int nanosleep(const timespec* time, timespec* left) {
    std::cout << "[" << time->tv_sec << " s " << time->tv_nsec << " ns]";
    const int result = time->tv_sec != 0 ? -1 : 0;
    errno = EINTR;
    *left = {0, 400};
    return result;
}

static CText thrownByConnect;

extern "C" int connect(int socket, const sockaddr* address, socklen_t size) {
    if (thrownByConnect == "number") {
        throw 6UL;
    }
    if (!thrownByConnect.empty()) {
        throw CException(thrownByConnect.c_str());
    }
    return static_cast<int>(syscall(SYS_connect, socket, address, size));
}

static CText Extract(CArgument name) {
    CUTF8String text("before");
    const bool found = Manager().ExtractText(name, text);
    const CText content(text.GetText(), text.GetLength());
    return Number(found) + (content.size() < 99 ? content : Number(content.size()));
}

static bool IsAllRight(bool reload) {
    CByteZone content;
    if (reload) {
        ReloadLanguage();
    }
    return Translate("a.b") == "Karte" && Translate("no.such") == "Undefined" &&
           CText(GetCompanyName()) == "Brand" && !IsRightToLeft() &&
           Manager().ExtractFile("company.txt", content) && *GetCurrentLanguage(reload) == 'd' &&
           FindLanguageFile("de").path == "languages/language.de.json" &&
           GetLanguageData("xx") == GetLanguageData("en");
}

static CText WorkAtOnce(CArgument) {
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 40; ++round) {
                right += IsAllRight(round % 8 == i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return Number(right);
}

static CText List(CArgument pattern) {
    CText names;
    for (const CISOString& name : downloader->ListFiles(pattern, "6.23+5", -2)) {
        names += CText("<") + name.GetText() + ">";
    }
    return names + Number(downloader->GetCurrentUrl());
}

static CText Serve(CArgument urls) {
    const auto list = *urls != 0 ? CISOString(urls).Split(",") : CTStringList<CISOString>();
    downloader.emplace(list, "a b/\xC3\xA9", "target", urls);
    return {};
}

static CText AwaitLanguage(CArgument) {
    while (languageDownloading) {
        std::this_thread::yield();
    }
    return {};
}

static CText FetchInThread(CArgument url) {
    DownloadThread thread(url, "made/for/it", "fetched");
    thread.onFinished = [] { std::cout << "[finished]"; };
    thread.Start();
    const int32_t result = thread.Wait();
    return thread.onFinished = nullptr, Number(result + thread.Run());
}

static CText FetchString(CArgument name) {
    const bool came = downloader->DownloadToString(name, -32768);
    return Number(came) + downloader->GetTarget().GetText();
}

static CText RefuseThreads(CArgument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t{1} << 46);
    return Number(pthread_setattr_default_np(&attributes));
}

static CText Pack(CArgument path) {
    const CText member(5000, 'x');
    const auto add = [&](CArgument name, unsigned level) {
        return mz_zip_add_mem_to_archive_file_in_place(path, name, member.data(), member.size(),
                                                       nullptr, 0, level);
    };
    return Number(add("stored", MZ_NO_COMPRESSION) + add("deflated", MZ_BEST_COMPRESSION));
}

static CText Find(CArgument language) {
    const CLanguageFile file = FindLanguageFile(language);
    return Number(file.exists) + Number(file.onDisk) + file.path.GetText();
}

static const std::map<CText, CText (*)(CArgument)> kCommands = {
    {"add",
     [](auto path) {
         return Number(Manager().AddResource(std::make_unique<CByteZone>(ReadFileBytes(path))));
     }},
    {"arrive", AwaitLanguage},
    {"at_once", WorkAtOnce},
    {"company", [](auto) -> CText { return GetCompanyName(); }},
    {"current", [](auto) -> CText { return GetCurrentLanguage(true); }},
    {"data",
     [](auto language) {
         const auto& data = GetLanguageData(language);
         return CText(data.begin(), data.end());
     }},
    {"directory", [](auto) -> CText { return GetLanguageDir(); }},
    {"extract", Extract},
    {"file", [](auto name) { return downloader->DownloadFile(name, 32767), CText(); }},
    {"find", Find},
    {"language", [](auto) { return downloader->DownloadLanguageIfNeeded(), CText(); }},
    {"list", List},
    {"manager", [](auto path) { return ownManager.reset(new CResManager(path)), CText(); }},
    {"pack", Pack},
    {"preferred", [](auto) -> CText { return GetPreferredLanguage(); }},
    {"refuse_threads", RefuseThreads},
    {"reload", [](auto) { return ReloadLanguage(), CText(); }},
    {"rtl", [](auto) { return Number(IsRightToLeft()); }},
    {"run", [](auto command) { return std::cout.flush(), Number(system(command)); }},
    {"servers", Serve},
    {"set", [](auto text) { return Number(putenv(const_cast<char*>(text))); }},
    {"string", FetchString},
    {"throw", [](auto what) { return thrownByConnect = what, CText(); }},
    {"umask", [](auto mask) { return umask(std::strtol(mask, nullptr, 8)), CText(); }},
    {"text", [](auto key) -> CText { return Translate(key).GetText(); }},
    {"thread", FetchInThread},
};

int main(int count, char** arguments) {
    if (chdir(getenv("HOME")) != 0) {
        return 1;
    }
    for (int i = 1; i < count; ++i) {
        const CText command = CText(arguments[i]).substr(0, CText(arguments[i]).find('='));
        try {
            std::cout << kCommands.at(command)(arguments[i] + command.size() + 1);
        } catch (const CException& exception) {
            std::cout << "(" << RenderMessage(exception.GetMessage()).GetText() << ")";
        }
        std::cout << '\n';
    }
}
