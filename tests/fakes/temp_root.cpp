#include "tests/fakes/temp_root.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

TempRoot::TempRoot() : path_("/tmp/kelpaXXXXXX")
{
    if (mkdtemp(path_.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), path_);
    for (const char *folder : {"tmp", "etc", "usr/bin", "usr/share/www/cgi-bin/admin", "var/run/eventmgr",
                               "var/run/http", "var/run/iod", "var/run/aenc/s0"})
        std::filesystem::create_directories(path_ + "/" + folder);
    write("/etc/accountmgr.conf", "# who may use the camera\ngroups=admin,operator,view\n");
    write("/etc/group", "root:x:0:\nadmin:x:100:\noperator:x:101:oscar\nview:x:102:vera\nother:x:103:\n");
    write("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nadmin:x:1000:100::/:/bin/sh\noscar:x:1001:103::/:/bin/sh\n"
                         "vera:x:1002:102::/:/bin/sh\nguest:x:1003:103::/:/bin/sh\n");
}

TempRoot::~TempRoot()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void TempRoot::write(const std::string &fixedPath, const std::string &content) const
{
    std::filesystem::remove(path(fixedPath)); // to overwrite one makes some file systems wait for the disk
    std::ofstream file(path(fixedPath), std::ios::binary);
    file << content;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path(fixedPath));
}

std::string readWholeFile(const std::filesystem::path &path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}
