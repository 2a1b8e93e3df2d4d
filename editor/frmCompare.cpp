#include "editor/frmCompare.h"

#include "host/ErrorReport.h"
#include "platform/person_name.h"
#include "sr/DcmSRDocument.h"

#include <algorithm>

namespace tavrel {
namespace {

std::string Entry(const ContentNode& node) {
    std::string line = node.Code.empty() ? node.CodeMeaning : node.Code + " " + node.CodeMeaning;
    return node.Annotation.empty() ? line : line + " (" + node.Annotation + ")";
}

std::string Entries(const std::vector<ContentNode>& nodes) {
    std::string lines;
    for (const ContentNode& node : nodes)
        lines += (lines.empty() ? "" : "\r\n") + Entry(node);
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
    std::string scheme, code, meaning, title;
    document.GetTitle(scheme, code, meaning, title);
    return {{"Report heading", meaning},
            {"Report title", title},
            {"Body part", document.HoldsCodedEntries() ? document.BodyPartNode().CodeMeaning : std::string()},
            {"Finding", Entries(document.Findings())},
            {"Diagnosis", Entries(document.Diagnoses())},
            {"Reading", document.Reading()}};
}

void frmCompare::ShowParts(const std::vector<Part>& earlier, const std::vector<Part>& later) {
    WrittenPieces written;
    for (std::size_t part = 0; part < earlier.size(); ++part) {
        const auto& [name, before] = earlier[part];
        const std::string& after = later[part].text;
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
