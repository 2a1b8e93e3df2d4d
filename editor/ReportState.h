#pragma once

#include "editor/Drafts.h"
#include "platform/controls.h"
#include "platform/report_watch.h"
#include "sr/DcmSRDocument.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace tavrel {

/// What the screen knows of the report beyond the document itself.
struct ScreenState {
    bool unsavedChanges = false;     ///< the person has typed what no version holds
    std::string notShown{};          ///< why the screen could not be filled
    std::string notStored{};         ///< why the last save stored nothing
    std::string unwritablePatient{}; ///< what of the patient's own data no version can hold
    int waiting = 0;                 ///< versions of this report that wait for the storage service
    std::size_t waitingImages = 0;   ///< images of this report that no file holds yet
    WatchedReport inCatalogue{};     ///< as it was told last, which may be before the last save
};

/// The line at the top of the editor: where this report stands.
struct StateLine {
    std::string text;
    Label::Tone tone;
};

StateLine DescribeState(const DcmSRDocument& document, const ScreenState& screen);

/// What a person is asked before a version is written after those that others have saved meanwhile; `onTop` stands on
/// the button that does it.
std::string DescribeOthers(const DcmSRDocument& document, std::string_view onTop);

/// What a person is told when no version can be written after them.
std::string DescribeBarrier(const DcmSRDocument& document);

/// The label of the last version; empty when there is none.
std::string LastLabel(const DcmSRDocument& document);

/// What the line below says of what was typed and not saved.
struct DraftState {
    const Draft* offer = nullptr; ///< the newest draft that can be put back
    std::size_t offers = 0;       ///< how many there are
    std::string notKept{};        ///< why what is typed cannot be kept
};

/// Empty when there is nothing to say.
StateLine DescribeDraft(const DcmSRDocument& document, const DraftState& state);

} // namespace tavrel
