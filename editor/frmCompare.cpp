#include "editor/frmCompare.h"

#include "host/ErrorReport.h"
#include "platform/person_name.h"
#include "sr/DcmSRDocument.h"

#include <algorithm>

namespace tavrel {
namespace {

/// What stands in a coded entry, beside its meaning.
enum class Codes { None, Value, Whole };

std::string Entry(const ContentNode& node, Codes codes) {
    std::string line;
    for (const std::string& part : {codes == Codes::Whole ? node.CodeScheme : std::string(),
                                    codes == Codes::None ? std::string() : node.Code, node.CodeMeaning})
        line += (line.empty() || part.empty() ? "" : " ") + part;
    return node.Annotation.empty() ? line : line + " (" + node.Annotation + ")";
}

std::string Entries(const std::vector<ContentNode>& nodes, Codes codes) {
    std::string lines;
    for (const ContentNode& node : nodes)
        lines += (lines.empty() ? "" : "\r\n") + Entry(node, codes);
    return lines;
}

std::string Count(std::size_t words, std::string_view what) {
    return std::to_string(words) + (words == 1 ? " word " : " words ") + std::string(what);
}

/// The differences as they are read: by the eye, by who sees no colours, and aloud.
class WrittenPieces {
public:
    std::string text;
    std::vector<TextMark> marks;
    std::size_t added = 0, removed = 0;

    void Append(const TextPiece& piece) {
        if (piece.kind == TextPiece::Kind::Same) {
            text += piece.text;
            return;
        }
        const bool isNew = piece.kind == TextPiece::Kind::Added;
        (isNew ? added : removed) += CountWords(piece.text);
        const auto words = piece.text.find_first_not_of(" \t\r\n");
        const auto before = words == std::string::npos ? 0 : words; // what parts the words is no part of them
        text += piece.text.substr(0, before);
        const auto begin = text.size();
        text += (isNew ? "[added: " : "[removed: ") + piece.text.substr(before) + "]";
        marks.push_back({begin, text.size() - begin, isNew ? TextMark::Kind::Added : TextMark::Kind::Removed});
    }
};

} // namespace

frmCompare::frmCompare(Global& global) : Form("frmCompare"), global_(global) {
    lstEarlier.Click = lstLater.Click = [this] { Show(); };
    cmdDone.Click = [this] { Dismiss(); };
    txtDifference.Locked(true);
}

void frmCompare::Compare(const DcmSRDocument& document, std::string_view whose, int later, Form& owner) {
    Caption("Compare versions - " + WrittenName(whose));
    document_ = nullptr; // until both lists are filled
    for (ListBox* list : {&lstEarlier, &lstLater}) {
        list->Clear();
        for (std::int16_t version = 1; version <= document.VersionCount(); ++version)
            list->AddItem(document.Version(version));
    }
    lstEarlier.ListIndex(std::max(later - 1, 0));
    document_ = &document;
    lstLater.ListIndex(later);
    global_.ports.windows.ShowModal(*this, &owner);
}

void frmCompare::Dismiss() {
    if (!document_)
        return;
    document_ = nullptr;
    global_.ports.windows.Unload(*this);
    Caption("");
    lstEarlier.Clear();
    lstLater.Clear();
    lblDifference.Text("");
    txtDifference.Text("");
}

void frmCompare::Show() {
    if (!document_)
        return;
    lblDifference.Text(""); // of two other versions, where one of these cannot be read
    txtDifference.Text("");
    TrapNumbered(global_.ports.windows, "frmCompare.Show:", [&] {
        ShowParts(PartsOf(lstEarlier.ListIndex()), PartsOf(lstLater.ListIndex()));
    });
}

std::vector<frmCompare::Part> frmCompare::PartsOf(int version) const {
    // A document of its own: the one on the screen stays where it is, with what is typed into it.
    DcmSRDocument document(global_);
    document.Series(document_->Series());
    document.GotoVersion(static_cast<std::int16_t>(version));
    ContentNode heading;
    std::string title;
    document.GetTitle(heading.CodeScheme, heading.Code, heading.CodeMeaning, title);
    const ContentNode bodyPart = document.HoldsCodedEntries() ? document.BodyPartNode() : ContentNode();
    const auto one = [](std::string_view name, const ContentNode& node) {
        return Part{name, Entry(node, Codes::None), Entry(node, Codes::Whole)};
    };
    const auto all = [](std::string_view name, const std::vector<ContentNode>& nodes) {
        return Part{name, Entries(nodes, Codes::Value), Entries(nodes, Codes::Whole)};
    };
    const auto typed = [](std::string_view name, const std::string& text) { return Part{name, text, text}; };
    return {one("Report heading", heading),
            typed("Report title", title),
            one("Body part", bodyPart),
            all("Finding", document.Findings()),
            all("Diagnosis", document.Diagnoses()),
            typed("Reading", document.Reading())};
}

void frmCompare::ShowParts(const std::vector<Part>& earlier, const std::vector<Part>& later) {
    WrittenPieces written;
    for (std::size_t part = 0; part < earlier.size(); ++part) {
        const auto& [name, said, coded] = earlier[part];
        const bool codesAlone = said == later[part].text && coded != later[part].coded;
        const std::string& before = codesAlone ? coded : said;
        const std::string& after = codesAlone ? later[part].coded : later[part].text;
        if (before.empty() && after.empty())
            continue;
        written.text += (written.text.empty() ? "" : "\r\n\r\n") + std::string(name) +
                        (before == after ? " (the same)" : "") + "\r\n";
        for (const TextPiece& piece : Difference(before, after))
            written.Append(piece);
    }
    lblDifference.Text(written.marks.empty() ? "The two versions say the same."
                       : written.added + written.removed == 0
                           ? "The words are the same, but not the signs or blanks between them."
                           : Count(written.added, "added, ") + Count(written.removed, "removed."));
    lblDifference.Emphasis(written.marks.empty() ? Label::Tone::Neutral : Label::Tone::Attention);
    txtDifference.Text(written.text);
    txtDifference.Marks(written.marks);
}

} // namespace tavrel
