#pragma once

#include "platform/dictionaries.h"

#include <filesystem>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {

/// Where the desktop's programs look for dictionaries: the folders of DICPATH, then those of the system.
std::vector<std::filesystem::path> DictionaryFolders();

/// The dictionaries of these folders, in the form of Hunspell ("en_US.aff" and "en_US.dic"), each read on a thread of
/// its own: large ones take half a second.
class HunspellDictionaries : public Dictionaries {
public:
    /// `post` runs a function on the user-interface thread, soon.
    explicit HunspellDictionaries(std::function<void(std::function<void()>)> post,
                                  std::vector<std::filesystem::path> folders = DictionaryFolders());
    /// Waits until what is being read is read and what is being looked for is found.
    ~HunspellDictionaries() override;

    void Load(std::string_view language, std::function<void(std::shared_ptr<Dictionary>)> done) override;
    void LookAside(std::function<std::vector<std::string>()> look,
                   std::function<void(std::vector<std::string>)> done) override;

private:
    void LookOn();

    std::function<void(std::function<void()>)> post_;
    std::vector<std::filesystem::path> folders_;
    std::list<std::thread> reading_;
    std::thread looking_;
    std::mutex mutex_; ///< of the two below
    std::function<void()> nextLook_;
    bool atIt_ = false;
};

} // namespace tavrel
