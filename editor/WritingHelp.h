#pragma once

#include "editor/Spelling.h"
#include "editor/TextBlocks.h"
#include "editor/WritingSettings.h"
#include "host/Global.h"
#include "platform/controls.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

class DcmSRDocument;

/// Tells a physician at the keyboard what would otherwise fail later: characters that the report's
/// file cannot hold are underlined, named and written plainly on request; a reading that grows too
/// long for the printed page is counted; text blocks of the site are put in and their blanks stepped through; words are
/// judged. It also decides how far an undo reaches.
class WritingHelp {
public:
    struct Controls {
        ComboBox& heading;
        TextBox& title;
        TextBox& reading;
        Frame& frame; ///< out of reach: nothing can be written, and nothing but the length is told
        Label& lost;
        Button& writePlainly;
        Label& length;
        Label& advice; ///< what there is to be done with the reading, where nothing is told of its length
    };
    WritingHelp(Global& global, const Controls& controls);
    WritingHelp(const WritingHelp&) = delete;
    WritingHelp& operator=(const WritingHelp&) = delete;

    /// Fills a field from the report. What was typed for the same report before can still be undone;
    /// nothing of another one comes back.
    void Fill(TextField& field, std::string_view text, const DcmSRDocument& document);

    /// Judges all texts anew: the frame has come into reach, or out of it.
    void Look();
    void WritePlainly();

    /// A report is being opened: reads the site's text blocks and what site and physician have set. A catalogue of
    /// before, which has no tables for that, is no fault.
    void ReadSite();
    /// A person has chosen a heading or typed one: its template goes into the reading while nothing is written there.
    void HeadingChosen();
    /// How many blanks of text blocks are left in the reading.
    std::size_t BlanksLeft() const;
    /// Puts text at the cursor of the reading, in place of what is selected, parted from the words around it.
    void Insert(std::string_view text);
    /// Shows this before any advice; an empty text ends that.
    void Say(std::string_view words);
    const WritingSettings& Settings() const { return settings_; }
    /// Selects the next blank of the reading, or the one before.
    void Step(bool back);

private:
    /// What a text holds that the file cannot.
    struct Judged {
        std::string text;
        std::string_view characterSet;
        std::vector<LostCharacter> lost;
    };
    struct Field {
        TextField& control;
        std::string_view place; ///< none: its lines are counted
        Judged judged{};
        std::string report{}; ///< which one it was filled for last
    };

    void Judge(Field& field) const;
    Judged JudgeAfter(const Judged& last, const std::string& text) const;
    void TellLost();
    /// What stands below the reading.
    struct Remark {
        std::string words{};
        Label::Tone tone = Label::Tone::Neutral;
    };
    Remark OfTheLength() const;
    Remark OfWhatIsToBeDone() const;
    void TellBelow();
    void Expand(std::size_t caret);
    /// Puts text of the program's into the reading, as a person's edit.
    void PutIn(std::size_t offset, std::size_t length, std::string_view text);

    Global& global_;
    Controls controls_;
    std::array<Field, 3> fields_;
    TextBlocks textBlocks_;
    std::string said_;
    WritingSettings settings_;
    Spelling spelling_;
    std::string filledIn_;           ///< the template that stands in the reading as it was filled in
    std::size_t stepFrom_ = NoPlace; ///< where the text block begins that was put in last
    static constexpr std::size_t NoPlace = std::string::npos;
};

} // namespace tavrel
