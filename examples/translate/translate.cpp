/**
 * translate: the program's texts, in the language of the environment.
 *
 * Usage: translate KEY [URL]
 *
 * Prints the text of a key, whose parts are parted by dots, in the language that LANG asks for:
 *
 *     $ LANG=de_DE.UTF-8 translate card.insert
 *     Bitte stecken Sie Ihre Karte ein.
 *     $ LANG=it_IT.UTF-8 translate card.insert
 *     Please insert your card.
 *
 * The texts come from the archives "qormgr.bin" and "branding.bin" beside the program, which the
 * build packs from examples/data, after those of an installed product, and ahead of both from
 * ~/.local/share/QorvsRuntime/languages. With the URL of a server, which ends in "/languages/", the
 * file of a language that has none is fetched from there; a process has made up its mind about the
 * language before, so it is the next one that speaks it:
 *
 *     $ LANG=it_IT.UTF-8 translate card.insert http://127.0.0.1:8000/languages/
 *     Please insert your card.
 *     $ LANG=it_IT.UTF-8 translate card.insert
 *     Inserire la carta.
 *
 * The exit status is 0 when there is a text; otherwise "Undefined" is printed and it is 1.
 */
#include "system/downloader.h"
#include "system/host.h"
#include "util/exception.h"
#include "util/language.h"
#include "util/language_files.h"
#include "util/resources.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

/** Adds the archives that lie beside this program. */
static void AddArchives() {
    const std::string program = GetExecutablePath().GetText();
    const std::string directory = program.substr(0, program.rfind('/') + 1);
    for (const char* const name : {"qormgr.bin", "branding.bin"}) {
        const std::string path = directory + name;
        if (!GetResManager().AddResource(
                std::make_unique<CByteZone>(ReadFileBytes(path.c_str())))) {
            std::cerr << "No archive: " << path << '\n';
        }
    }
}

/** Fetches the language's file if there is none, and stays until it has come or failed. */
static void FetchLanguage(const char* url) {
    Downloader({}, "", "", url).DownloadLanguageIfNeeded();
    while (languageDownloading) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "Usage: translate KEY [URL]\n";
        return 1;
    }
    try {
        AddArchives();
        if (argc == 3) {
            FetchLanguage(argv[2]);
        }
        const CUTF8String text = Translate(argv[1]);
        std::cout << text.GetText() << '\n';
        return text == "Undefined" ? 1 : 0;
    } catch (const CException& exception) {
        std::cerr << RenderMessage(exception.GetMessage()).GetText() << '\n';
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    return 1;
}
