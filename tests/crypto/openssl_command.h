/**
 * The `openssl` command as the other side of what we make and read.
 */
#pragma once

#include "support/settings_home.h"
#include "util/ct_zone.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/** The command, run in a temporary directory of its own. */
class COpensslCommand {
public:
    /** Expects that the command ends in order. */
    void Run(const std::string& arguments) const {
        const std::string command = "cd " + home.Path("") + " && openssl " + arguments;
        EXPECT_EQ(std::system((command + " </dev/null >/dev/null 2>&1").c_str()), 0) << command;
    }

    template <class Zone>
    void Write(const std::string& name, const Zone& bytes) const {
        home.Write(name, std::string(bytes.begin(), bytes.end()));
    }

    template <class Zone = CByteZone>
    Zone Read(const std::string& name) const {
        std::ifstream file(home.Path(name), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
    }

private:
    CSettingsHome home;
};
