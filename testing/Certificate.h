#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace velk::testing {

/// A certificate of a day for 127.0.0.1 and localhost that vouches for itself, and its key: two files
/// NAME.crt and NAME.key in a folder, made by openssl.
class Certificate {
public:
    Certificate(const std::filesystem::path& folder, const std::string& name) :
        certificateFile{folder / (name + ".crt")}, keyFile{folder / (name + ".key")} {
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes "
            "-days 1 -subj /CN=localhost -addext "
            "subjectAltName=IP:127.0.0.1,DNS:localhost -keyout '" +
            keyFile.string() + "' -out '" + certificateFile.string() + "' 2>/dev/null";
        if (std::system(command.c_str()) != 0) {
            throw std::runtime_error{"openssl made no certificate in " + folder.string()};
        }
    }

    const std::filesystem::path& file() const { return certificateFile; }
    const std::filesystem::path& key() const { return keyFile; }

private:
    std::filesystem::path certificateFile;
    std::filesystem::path keyFile;
};

} // namespace velk::testing
