#pragma once

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
/// long for the printed page is counted. It also decides how far an undo reaches.
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
    void TellLength();

    Global& global_;
    Controls controls_;
    std::array<Field, 3> fields_;
};

} // namespace tavrel
