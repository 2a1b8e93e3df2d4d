#pragma once

#include "editor/TextDifference.h"
#include "host/Global.h"
#include "platform/controls.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

class DcmSRDocument;

/// Shows what became of one version of a report in another: words added and removed, set off and named.
class frmCompare : public Form {
public:
    explicit frmCompare(Global& global);

    /// Shows the versions of `document`, which stays as it is, and returns when the window is closed. `whose` is the
    /// patient; `later` the version that is shown first, compared with the one before it.
    void Compare(const DcmSRDocument& document, std::string_view whose, int later, Form& owner);
    /// Closes the window and forgets what it shows: another report is being opened.
    void Dismiss();

    void FrameClosed() override { Dismiss(); }

    ListBox lstEarlier{*this, "lstEarlier"}, lstLater{*this, "lstLater"};
    Label lblDifference{*this, "lblDifference"}; ///< how many words
    TextBox txtDifference{*this, "txtDifference"};
    Button cmdDone{*this, "cmdDone"};

private:
    /// What a version says, part by part.
    struct Part {
        std::string_view name;
        std::string text;
        std::string coded; ///< the same with all of each code
    };
    std::vector<Part> PartsOf(int version) const;
    void Show();
    void ShowParts(const std::vector<Part>& earlier, const std::vector<Part>& later);

    Global& global_;
    const DcmSRDocument* document_ = nullptr;
};

} // namespace tavrel
