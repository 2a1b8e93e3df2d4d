#include "suite/catalogue/EditorPlace.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

namespace tavrel {
namespace fs = std::filesystem;
namespace {

bool MayWrite(const fs::path& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

} // namespace

fs::path BesideTheTool(const char* path) {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).parent_path().parent_path() / path;
}

std::optional<fs::path> BesideTheEditor(const char* name) {
    const fs::path editor = BesideTheTool("bin/tavrel");
    std::error_code ignored;
    if (!fs::exists(editor, ignored))
        return {};
    return fs::weakly_canonical(fs::weakly_canonical(editor, ignored).parent_path() / name, ignored);
}

std::optional<std::string> WhyNothingIsLogged(const fs::path& log, const std::string& account) {
    if (MayWrite(log))
        return {};
    const std::string why = "the editor logs nothing for " + account + ", who may not write " + log.string();
    struct stat status {};
    if (stat(log.c_str(), &status) != 0) {
        if (MayWrite(log.parent_path()))
            return {}; // the editor makes it
        return why + "; \"sudo install -m 660 -g GROUP /dev/null " + log.string() +
               "\" makes it for the accounts of GROUP";
    }
    const group* writers = getgrgid(status.st_gid);
    if (!writers || status.st_gid == 0 || (status.st_mode & S_IWGRP) == 0)
        return why;
    return why + "; \"sudo adduser " + account + " " + writers->gr_name + "\" lets it, from its next session on";
}

} // namespace tavrel
