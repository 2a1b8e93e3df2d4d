#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace tavrel::test {

/// A patient of one of the world's scripts and what is said of them, in UTF-8.
struct NameInScript {
    std::string script;
    std::string name; ///< with all its component groups (DICOM PS3.5, 6.2.1)
    std::string reading;
};

/// Those of names-in-scripts.csv.
inline std::vector<NameInScript> NamesInScripts() {
    std::ifstream file(NAMES_IN_SCRIPTS);
    std::vector<NameInScript> names;
    std::string heading;
    std::getline(file, heading);
    for (NameInScript next; std::getline(file, next.script, ';');) {
        std::getline(file, next.name, ';');
        std::getline(file, next.reading);
        names.push_back(next);
    }
    return names;
}

} // namespace tavrel::test
