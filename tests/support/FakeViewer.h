#pragma once

#include "platform/viewer.h"

#include <functional>
#include <string>
#include <vector>

namespace tavrel::test {

/// The viewer as a report sees it. Every object made by the link shares what is recorded here.
class FakeViewerLink : public ViewerLink {
public:
    bool absent = false; ///< no viewer can be created
    std::string failing; ///< the call that fails, e.g. "ViewRefertImages"

    std::function<void(const std::string&)> onCall; ///< what the viewer does meanwhile, told the name of the call
    int created = 0;
    std::vector<std::string> calls;  ///< the names of the calls, in order
    std::vector<std::string> images; ///< shown since the list was last cleared
    std::string srFilename;
    std::string lutName;
    ViewParametersHandle viewPars;

    std::unique_ptr<Viewer> Create() override;
};

} // namespace tavrel::test
