// The user's browser.
#pragma once

#include <filesystem>
#include <string>

namespace norveltl {

// Opens an address that carries a secret: through a file that only the user can read, as other
// users see what a program is started with. The file goes with this object.
class CBrowserPage {
public:
    explicit CBrowserPage(const std::string& url);
    ~CBrowserPage();
    CBrowserPage(const CBrowserPage&) = delete;
    CBrowserPage& operator=(const CBrowserPage&) = delete;

    // False when no browser could be started.
    bool IsOpen() const { return m_isOpen; }

private:
    std::filesystem::path m_file;
    bool m_isOpen = false;
};

} // namespace norveltl
