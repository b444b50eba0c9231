#include "support/settings_home.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

CSettingsHome::CSettingsHome() : directory(fs::temp_directory_path() / "settings_home_XXXXXX") {
    if (mkdtemp(directory.data()) == nullptr) {
        throw std::runtime_error("cannot make " + directory);
    }
}

CSettingsHome::~CSettingsHome() {
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

void CSettingsHome::Write(const std::string& name, const std::string& content) const {
    fs::create_directories(fs::path(Path(name)).parent_path());
    std::ofstream(Path(name), std::ios::binary) << content;
    fs::permissions(Path(name), fs::perms::owner_all);
}

std::vector<std::string> CSettingsHome::Environment() const {
    const char* const path = getenv("PATH");
    return {"HOME=" + directory, "QORVS_CONFFILE=" + Path("qorvs.conf"),
            "PATH=" + Path("bin") + ":" + (path != nullptr ? path : "")};
}
