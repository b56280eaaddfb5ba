#include "files/InputFile.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

namespace norveltl {

std::string ReadFile(const std::filesystem::path& path) {
    if (path == "-") {
        return {std::istreambuf_iterator<char>(std::cin), {}};
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    std::error_code error;
    if (!file || std::filesystem::is_directory(path, error)) {
        const int reason = errno != 0 ? errno : EIO;
        throw CToolError("cannot read " + Utf8FromPath(path) + ": " +
                         std::generic_category().message(reason));
    }
    return text;
}

} // namespace norveltl
