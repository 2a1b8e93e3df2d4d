#include "suite/porvane/IncomingFile.h"

#include "platform/posix/WholeFile.h"
#include "suite/porvane/IncomingArea.h"
#include "suite/porvane/TreeFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace tavrel {

IncomingFile::IncomingFile(IncomingArea& area) {
    try {
        path_ = area.NewName();
        descriptor_ = open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (descriptor_ < 0)
            Refuse("cannot open the file", errno);
    } catch (const StoreRefusal& refusal) {
        failure_ = refusal;
    }
}

IncomingFile::~IncomingFile() {
    if (descriptor_ >= 0)
        close(descriptor_);
    if (!left_)
        unlink(path_.c_str());
}

void IncomingFile::Write(std::string_view bytes) {
    if (failure_)
        throw *failure_;
    if (!WriteAll(descriptor_, bytes))
        Refuse("cannot write the file", errno);
}

void IncomingFile::Finish() {
    if (fsync(descriptor_) != 0)
        Refuse("cannot write the file", errno);
}

} // namespace tavrel
