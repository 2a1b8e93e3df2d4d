#include "editor/WritingHelp.h"

#include "editor/PrintTable.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/PlainForm.h"
#include "platform/attributes.h"
#include "platform/text.h"
#include "sr/DcmSRDocument.h"
#include "sr/forms/VersionForm.h"

#include <algorithm>
#include <set>
#include <span>

namespace tavrel {
namespace {

/// So many characters are named; a longer line is no line.
constexpr std::size_t MostNamed = 3;
/// From this part of the printable length on the reading is counted.
constexpr std::size_t CountedFrom = LongestPrintedReading * 4 / 5;
/// Nobody shortens a reading of more by the number.
constexpr std::size_t MostCounted = 2000;

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

std::string Sentence(std::span<const std::string> lost) {
    if (lost.empty())
        return {};
    const auto count = std::min(lost.size(), MostNamed);
    std::string named = "The file cannot hold " + lost.front();
    for (const auto& next : lost.subspan(1, count - 1))
        named += ", " + next;
    return named + (lost.size() > count ? " and " + std::to_string(lost.size() - count) + " more." : ".");
}

std::size_t LineOf(std::string_view text, std::size_t offset) {
    return 1 + static_cast<std::size_t>(std::ranges::count(text.substr(0, offset), '\n'));
}

/// How many bytes at the beginning of two texts are the same whole lines.
std::size_t SameHead(std::string_view a, std::string_view b) {
    std::size_t head = 0;
    for (auto end = a.find('\n'); end != std::string_view::npos; end = a.find('\n', head)) {
        const auto line = a.substr(head, end + 1 - head);
        if (!b.substr(head).starts_with(line))
            break;
        head = end + 1;
    }
    return head;
}

/// How many at their end, each line with the break before it.
std::size_t SameTail(std::string_view a, std::string_view b) {
    const auto whole = a.size();
    for (auto begin = a.rfind('\n'); begin != std::string_view::npos; begin = a.rfind('\n')) {
        const auto line = a.substr(begin);
        if (!b.ends_with(line))
            break;
        a.remove_suffix(line.size());
        b.remove_suffix(line.size());
    }
    return whole - a.size();
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
                                                    Field{controls.reading, {}}},
      spelling_(global, controls.reading, [this] { TellBelow(); }) {
    for (auto& field : fields_)
        field.control.Changed = [this, &field] {
            Judge(field);
            TellLost();
            if (&field.control == &controls_.reading)
                TellBelow();
        };
    controls_.reading.CharacterTyped = [this](std::size_t caret) { Expand(caret); };
    controls_.reading.Step = [this](bool back) { Step(back); };
    controls_.writePlainly.Visible(false);
    controls_.writePlainly.Click = [this] { WritePlainly(); };
}

void WritingHelp::Fill(TextField& field, std::string_view text, const DcmSRDocument& document) {
    auto& report = std::ranges::find(fields_, &field, [](const Field& each) { return &each.control; })->report;
    if (&field == &controls_.reading) {
        filledIn_.clear();
        stepFrom_ = NoPlace;
    }
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
    TellBelow();
}

/// No line depends on another: those that are as they were judged last are not judged again.
WritingHelp::Judged WritingHelp::JudgeAfter(const Judged& last, const std::string& text) const {
    const std::string_view former = last.text;
    std::string_view middle = text;
    const auto head = SameHead(former, middle);
    middle.remove_prefix(head);
    const auto tail = SameTail(former.substr(head), middle);
    middle.remove_suffix(tail);
    Judged now{text, last.characterSet, {}};
    for (const LostCharacter& lost : last.lost)
        if (lost.offset < head)
            now.lost.push_back(lost);
    for (const auto& [lost, offset] : global_.ports.dicom.FindUnwritable(middle, now.characterSet))
        now.lost.push_back({lost, head + offset});
    for (const auto& [lost, offset] : last.lost)
        if (offset >= former.size() - tail)
            now.lost.push_back({lost, offset - former.size() + text.size()});
    return now;
}

void WritingHelp::Judge(Field& field) const {
    Judged last = std::exchange(field.judged, {});
    const auto characterSet = FormOf(global_)->CharacterSet();
    if (last.characterSet != characterSet)
        last = {{}, characterSet, {}};
    // A judgement that fails would fail at every key; the save says why.
    Trap(
        [&] {
            if (controls_.frame.Enabled())
                field.judged = JudgeAfter(last, field.control.Text());
        },
        [](const Error&) {});
    std::vector<TextMark> marks;
    for (const auto& [text, offset] : field.judged.lost)
        marks.push_back({offset, text.size()});
    field.control.Marks(std::move(marks));
}

void WritingHelp::TellLost() {
    std::set<std::string_view> known;
    std::vector<std::string> stubborn, pliable;
    for (const auto& [control, place, judged, report] : fields_)
        for (const auto& character : judged.lost) {
            if (!known.insert(character.text).second)
                continue;
            const bool plain = PlainForm(control.Text(), character).has_value();
            const auto where =
                place.empty() ? "line " + std::to_string(LineOf(control.Text(), character.offset)) : std::string{place};
            (plain ? pliable : stubborn)
                .push_back(Quoted(character.text) + " (" + where + (plain ? ")" : ", no plain form)"));
        }
    controls_.writePlainly.Visible(!pliable.empty());
    // What nobody but the physician can mend comes first.
    stubborn.insert(stubborn.end(), pliable.begin(), pliable.end());
    controls_.lost.Text(Sentence(stubborn));
    controls_.lost.Emphasis(stubborn.empty() ? Label::Tone::Neutral : Label::Tone::Attention);
}

WritingHelp::Remark WritingHelp::OfTheLength() const {
    const std::string_view text = controls_.reading.Text();
    const auto counted = FirstCharacters(text, MostCounted);
    const auto length = CountCharacters(counted);
    const bool tooLong = length > LongestPrintedReading;
    // In steps: words that change at every key are no calm sight, and the window is laid out anew for each.
    constexpr std::size_t step = 10;
    const auto bound = WithThousands(LongestPrintedReading);
    if (tooLong)
        return {(counted.size() < text.size() ? "More than " : "About ") +
                    WithThousands((length + step - 1) / step * step) + " characters, of which " + bound +
                    " can be printed",
                Label::Tone::Attention};
    if (length >= CountedFrom)
        return {"About " + WithThousands(length / step * step) + " of the " + bound +
                " characters that can be printed"};
    return {};
}

void WritingHelp::WritePlainly() {
    for (auto& field : fields_)
        if (const auto lost = field.judged.lost; !lost.empty())
            field.control.TypeIn(WrittenPlainly(field.control.Text(), lost)); // which judges anew
}

void WritingHelp::ReadSite() {
    auto& catalogue = Catalogue(global_);
    const auto keepWhatIsKnown = [](const Error&) {};
    Trap([&] { textBlocks_ = TextBlocks::Read(catalogue); }, keepWhatIsKnown);
    Trap([&] { settings_ = WritingSettings::Read(catalogue, global_.currentUserName); }, keepWhatIsKnown);
    spelling_.AnotherReport();
    spelling_.Set(settings_.spelling);
    TellBelow();
}

void WritingHelp::HeadingChosen() {
    const auto& reading = controls_.reading.Text();
    if (!controls_.frame.Enabled() || (!reading.empty() && reading != filledIn_))
        return;
    const auto text = textBlocks_.TemplateOf(controls_.heading.Text());
    if (text.empty() && reading.empty())
        return;
    PutIn(0, reading.size(), text);
    filledIn_ = reading;
}

void WritingHelp::Expand(std::size_t caret) {
    if (!controls_.frame.Enabled())
        return;
    if (const auto expansion = textBlocks_.ExpansionAt(controls_.reading.Text(), caret))
        PutIn(expansion->offset, expansion->length, expansion->text);
}

void WritingHelp::PutIn(std::size_t offset, std::size_t length, std::string_view text) {
    auto& reading = controls_.reading;
    const auto written = reading.Filter ? reading.Filter(text) : std::string(text);
    reading.TypeIn(std::string(reading.Text()).replace(offset, length, written));
    stepFrom_ = BlanksOf(written).empty() ? NoPlace : offset;
}

void WritingHelp::Insert(std::string_view text) {
    const std::string_view reading = controls_.reading.Text();
    const auto [offset, length, kind] = controls_.reading.Selection();
    const auto begin = std::min(offset, reading.size()), end = std::min(offset + length, reading.size());
    const bool afterWord = begin > 0 && !IsBlank(reading[begin - 1]);
    const bool beforeWord = end < reading.size() && !IsBlank(reading[end]) &&
                            std::string_view(".,;:!?)").find(reading[end]) == std::string_view::npos;
    PutIn(begin, end - begin, (afterWord ? " " : "") + std::string(text) + (beforeWord ? " " : ""));
}

void WritingHelp::Say(std::string_view words) {
    if (said_ == words)
        return;
    said_ = words;
    TellBelow();
}

std::size_t WritingHelp::BlanksLeft() const {
    return textBlocks_.Empty() || !controls_.frame.Enabled() ? 0 : BlanksOf(controls_.reading.Text()).size();
}

void WritingHelp::Step(bool back) {
    const auto blanks = BlanksOf(controls_.reading.Text());
    if (blanks.empty())
        return;
    const auto selected = controls_.reading.Selection();
    const auto from = std::min(std::exchange(stepFrom_, NoPlace), selected.offset + selected.length);
    auto next = std::ranges::lower_bound(blanks, back ? selected.offset : from, {}, &Blank::offset);
    if (back)
        next = next == blanks.begin() ? blanks.end() - 1 : next - 1;
    else if (next == blanks.end())
        next = blanks.begin();
    controls_.reading.Select({next->offset, next->length});
}

WritingHelp::Remark WritingHelp::OfWhatIsToBeDone() const {
    const auto left = BlanksLeft();
    if (left == 0)
        return {spelling_.Failure()};
    return {left == 1 ? "1 blank to fill in: F3 goes there"
                      : std::to_string(left) + " blanks to fill in: F3 goes to the next",
            Label::Tone::Attention};
}

/// One of them: in a narrow window there is room for no more.
void WritingHelp::TellBelow() {
    const bool said = !said_.empty();
    const Remark length = said ? Remark() : OfTheLength();
    const Remark advice = said                   ? Remark{said_, Label::Tone::Attention}
                          : length.words.empty() ? OfWhatIsToBeDone()
                                                 : Remark();
    controls_.length.Text(length.words);
    controls_.length.Visible(!length.words.empty()); // the other one begins where it does
    controls_.length.Emphasis(length.tone);
    controls_.advice.Text(advice.words);
    controls_.advice.Emphasis(advice.tone);
}

} // namespace tavrel
