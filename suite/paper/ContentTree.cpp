#include "suite/paper/ContentTree.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/person_name.h"
#include "platform/text.h"
#include "sr/content/ContentNode.h"
#include "sr/content/Items.h"

#include <array>
#include <string_view>

namespace tavrel {
namespace {

// A tree that is deeper is no report that a person wrote, and would end the program's stack.
constexpr int MostLevels = 64;

std::string MeaningOf(const DicomDataSet& item, Tag sequence) {
    ContentNode code;
    code.DicomObject(item.GetSequenceItem(sequence, 0));
    return code.CodeMeaning.empty() ? code.Code : code.CodeMeaning;
}

std::string Measured(const DicomDataSet& item) {
    const DataSetHandle value = item.GetSequenceItem(attribute::MeasuredValueSequence, 0);
    if (!value)
        return "no value";
    const std::string unit = MeaningOf(*value, attribute::MeasurementUnitsCodeSequence);
    const std::string number(Trimmed(TextOf(*value, attribute::NumericValue)));
    return unit.empty() || unit == "no units" ? number : number + " " + unit;
}

/// What an item says by itself.
std::string Said(const DicomDataSet& item) {
    struct Kind {
        std::string_view valueType;
        std::string (*said)(const DicomDataSet& item);
    };
    // DICOM PS3.3, table C.17.3-7.
    constexpr std::array kinds = {
        Kind{"TEXT", [](const DicomDataSet& each) { return TextOf(each, attribute::TextValue); }},
        Kind{"NUM", Measured},
        Kind{"CODE", [](const DicomDataSet& each) { return MeaningOf(each, attribute::ConceptCodeSequence); }},
        Kind{"DATETIME", [](const DicomDataSet& each) { return TextOf(each, attribute::ContentItemDateTime); }},
        Kind{"DATE", [](const DicomDataSet& each) { return TextOf(each, attribute::ContentItemDate); }},
        Kind{"TIME",
             [](const DicomDataSet& each) { return TimeText(DateTimeOf(each.GetValue(attribute::ContentItemTime))); }},
        Kind{"UIDREF", [](const DicomDataSet& each) { return TextOf(each, attribute::ContentItemUid); }},
        Kind{"PNAME", [](const DicomDataSet& each) { return WrittenName(TextOf(each, attribute::PersonName)); }},
        Kind{"COMPOSITE", [](const DicomDataSet&) { return std::string("an object"); }},
        Kind{"IMAGE", [](const DicomDataSet&) { return std::string("an image"); }},
        Kind{"WAVEFORM", [](const DicomDataSet&) { return std::string("a waveform"); }},
        Kind{"SCOORD", [](const DicomDataSet&) { return std::string("a region of an image"); }},
        Kind{"SCOORD3D", [](const DicomDataSet&) { return std::string("a region in space"); }},
        Kind{"TCOORD", [](const DicomDataSet&) { return std::string("a stretch of time"); }},
        Kind{"CONTAINER", [](const DicomDataSet&) { return std::string(); }},
    };
    const std::string valueType = TextOf(item, attribute::ValueType);
    for (const auto& kind : kinds)
        if (kind.valueType == valueType)
            return kind.said(item);
    return valueType.empty() ? "a reference to another item" : "what this program does not know (" + valueType + ")";
}

class Reader {
public:
    std::vector<ContentBlock> Read(const DicomDataSet& document) {
        ReadWithin(document, 0);
        return std::move(blocks_);
    }

private:
    void ReadWithin(const DicomDataSet& holder, int level) {
        if (level < MostLevels)
            ForEachItem(holder, attribute::ContentSequence, [&](const DicomDataSet& item) { Take(item, level); });
        else if (holder.GetSequenceItemCount(attribute::ContentSequence) > 0)
            AddLine("...", level);
    }

    void Take(const DicomDataSet& item, int level) {
        const std::string name = MeaningOf(item, attribute::ConceptNameCodeSequence), said = Said(item);
        const std::string valueType = TextOf(item, attribute::ValueType);
        if (valueType == "CONTAINER" || (valueType == "TEXT" && said.find('\n') != std::string::npos)) {
            blocks_.push_back({.level = level, .caption = name, .text = said});
            ReadWithin(item, level + 1);
            blocks_.push_back({.level = level}); // what follows stands outside
            return;
        }
        AddLine(name.empty() ? said : name + ": " + said, level);
        ReadWithin(item, level + 1);
    }

    /// Short items stand below each other.
    void AddLine(const std::string& line, int level) {
        if (blocks_.empty() || blocks_.back().level != level)
            blocks_.push_back({.level = level});
        auto& text = blocks_.back().text;
        text += (text.empty() ? "" : "\r\n") + line;
    }

    std::vector<ContentBlock> blocks_;
};

} // namespace

std::vector<ContentBlock> ReadContentTree(const DicomDataSet& document) {
    auto blocks = Reader().Read(document);
    std::erase_if(blocks, [](const ContentBlock& block) { return block.caption.empty() && block.text.empty(); });
    return blocks;
}

} // namespace tavrel
