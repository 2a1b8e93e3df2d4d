#include "sr/UnwritableText.h"

#include "platform/attributes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace tavrel {
namespace {

bool Leads(const std::vector<Unwritable::Step>& path, std::initializer_list<Unwritable::Step> steps) {
    return std::ranges::equal(path, steps);
}

/// The field as the screen calls it.
std::string FieldOf(const Unwritable& element) {
    const auto& path = element.path;
    if (Leads(path, {{attribute::ContentSequence, 1}, {attribute::TextValue, -1}}))
        return "the reading";
    if (Leads(path, {{attribute::ContentSequence, 0}, {attribute::TextValue, -1}}) ||
        Leads(path, {{attribute::SeriesDescription, -1}}))
        return "the title";
    if (Leads(path, {{attribute::ConceptNameCodeSequence, 0}, {attribute::CodeMeaning, -1}}))
        return "the heading";
    if (path.back().tag == attribute::VerifyingObserverName || path.back().tag == attribute::PersonName)
        return "the physician's signature";
    if (path.back().tag == attribute::VerifyingOrganization || path.back().tag == attribute::InstitutionName)
        return "the institution's name";
    return element.name;
}

std::string Shown(const std::string& character) {
    const auto code = static_cast<unsigned char>(character.front());
    if (code >= 0x20 && code != 0x7F)
        return character;
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "a control character (U+%04X)", static_cast<unsigned>(code));
    return name.data();
}

/// One line for each line of the element's text that holds such characters.
void AppendLines(const Unwritable& element, std::vector<std::string>& lines) {
    const bool several = element.text.find('\n') != std::string::npos;
    std::string line;
    for (const auto& lost : element.lost) {
        auto place = FieldOf(element);
        if (several)
            place +=
                ", line " + std::to_string(1 + std::count(element.text.begin(),
                                                          element.text.begin() + static_cast<long>(lost.offset), '\n'));
        place += ":";
        if (!line.starts_with(place + " ")) {
            if (!line.empty())
                lines.push_back(line);
            line = place;
        }
        line += " " + Shown(lost.text);
    }
    if (!line.empty())
        lines.push_back(line);
}

/// Each line once: the title stands in a version twice.
std::string Joined(const std::vector<std::string>& lines, std::string_view between) {
    std::string words;
    for (auto line = lines.begin(); line != lines.end(); ++line)
        if (std::find(lines.begin(), line, *line) == line)
            words.append(words.empty() ? "" : between).append(*line);
    return words;
}

} // namespace

std::string WhatCannotBeWritten(const DicomDataSet& version) {
    std::vector<std::string> lines, reasons;
    for (const auto& element : version.FindUnwritable()) {
        AppendLines(element, lines);
        if (!element.reason.empty())
            reasons.push_back(element.reason);
    }
    if (!lines.empty())
        lines.insert(lines.begin(), "The report cannot be stored: its file cannot hold these characters.");
    std::ranges::move(reasons, std::back_inserter(lines));
    return Joined(lines, "\r\n");
}

std::string WhatCannotBeWrittenOfThePatient(const DicomDataSet& version) {
    std::vector<std::string> lines;
    for (const auto& element : version.FindUnwritable())
        if (element.path.size() == 1 && element.path.front().tag != attribute::SeriesDescription)
            AppendLines(element, lines);
    return Joined(lines, "; ");
}

} // namespace tavrel
