#include "editor/WritingHelp.h"

#include "editor/PrintTable.h"
#include "host/ErrorReport.h"
#include "host/PlainForm.h"
#include "platform/attributes.h"
#include "platform/text.h"
#include "sr/DcmSRDocument.h"
#include "sr/UnwritableText.h"

#include <algorithm>
#include <set>

namespace tavrel {
namespace {

/// So many characters are named; a longer line is no line.
constexpr std::size_t MostNamed = 3;
/// From this part of the printable length on the reading is counted.
constexpr std::size_t CountedFrom = LongestPrintedReading * 4 / 5;

std::string WithThousands(std::size_t number) {
    std::string digits = std::to_string(number);
    for (auto at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, ",");
    return digits;
}

std::string Quoted(const std::string& character) {
    const auto first = static_cast<unsigned char>(character.front());
    return first < 0x20 || character == "\x7F" ? "a control character" : "\"" + character + "\"";
}

std::size_t LineOf(std::string_view text, std::size_t offset) {
    return 1 + static_cast<std::size_t>(std::ranges::count(text.substr(0, offset), '\n'));
}

/// What tells one report from another; empty when it cannot be told.
std::string ReportKey(const DcmSRDocument& document) {
    const auto versions = document.Series();
    const int index = document.VersionIndex();
    if (!versions || index < 0 || index >= versions->Count())
        return {};
    const auto series = versions->GetElementString(index, attribute::SeriesInstanceUid);
    return series.empty() ? series
                          : versions->GetElementString(index, attribute::PatientId) + '\n' +
                                versions->GetElementString(index, attribute::StudyInstanceUid) + '\n' + series;
}

} // namespace

WritingHelp::WritingHelp(Global& global, const Controls& controls)
    : global_(global), controls_(controls), fields_{Field{controls.heading, "heading"}, Field{controls.title, "title"},
                                                    Field{controls.reading, {}}} {
    for (auto& field : fields_)
        field.control.Changed = [this, &field] {
            Judge(field);
            TellLost();
            if (&field.control == &controls_.reading)
                TellLength();
        };
    controls_.writePlainly.Visible(false);
    controls_.writePlainly.Click = [this] { WritePlainly(); };
}

void WritingHelp::Fill(TextField& field, std::string_view text, const DcmSRDocument& document) {
    auto& report = std::ranges::find(fields_, &field, [](const Field& each) { return &each.control; })->report;
    const auto key = ReportKey(document);
    if (!key.empty() && key == report)
        return field.Revise(text);
    field.Text(text);
    report = key;
}

void WritingHelp::Look() {
    for (auto& field : fields_)
        Judge(field);
    TellLost();
    TellLength();
}

void WritingHelp::Judge(Field& field) const {
    field.lost.clear();
    // A judgement that fails would fail at every key; the save says why.
    Trap(
        [&] {
            if (controls_.frame.Enabled())
                field.lost = global_.ports.dicom.FindUnwritable(field.control.Text(), ReportCharacterSet);
        },
        [](const Error&) {});
    std::vector<TextMark> marks;
    for (const auto& [text, offset] : field.lost)
        marks.push_back({offset, text.size()});
    field.control.Marks(std::move(marks));
}

void WritingHelp::TellLost() {
    std::set<std::string_view> told;
    std::string named, stubborn;
    bool helps = false;
    for (const auto& [control, place, lost, report] : fields_)
        for (const auto& character : lost) {
            if (!told.insert(character.text).second)
                continue;
            const bool plain = PlainForm(control.Text(), character).has_value();
            helps = helps || plain;
            if (!plain && stubborn.empty())
                stubborn = Quoted(character.text);
            if (told.size() > MostNamed)
                continue;
            const auto where =
                place.empty() ? "line " + std::to_string(LineOf(control.Text(), character.offset)) : std::string{place};
            named += (named.empty() ? "" : ", ") + Quoted(character.text) + " (" + where + ")";
        }
    std::string words;
    if (!named.empty())
        words = "The file cannot hold " + named +
                (told.size() > MostNamed ? " and " + std::to_string(told.size() - MostNamed) + " more." : ".");
    if (!stubborn.empty())
        words += " There is no plain form of " + stubborn + ".";
    controls_.lost.Text(words);
    controls_.lost.Emphasis(words.empty() ? Label::Tone::Neutral : Label::Tone::Attention);
    controls_.writePlainly.Visible(helps);
}

void WritingHelp::TellLength() {
    const auto length = CountCharacters(controls_.reading.Text());
    const bool tooLong = length > LongestPrintedReading;
    std::string words;
    if (tooLong)
        words = WithThousands(length) + " characters: more than the " + WithThousands(LongestPrintedReading) +
                " that can be printed";
    else if (length >= CountedFrom)
        words = WithThousands(length) + " of the " + WithThousands(LongestPrintedReading) +
                " characters that can be printed";
    controls_.length.Text(words);
    controls_.length.Emphasis(tooLong ? Label::Tone::Attention : Label::Tone::Neutral);
}

void WritingHelp::WritePlainly() {
    for (auto& field : fields_)
        if (!field.lost.empty()) {
            field.control.Revise(WrittenPlainly(field.control.Text(), std::vector(field.lost)));
            if (field.control.Edited) // the person asked for it
                field.control.Edited();
        }
}

} // namespace tavrel
