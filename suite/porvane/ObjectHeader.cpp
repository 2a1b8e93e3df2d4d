#include "suite/porvane/ObjectHeader.h"

#include "platform/error.h"
#include "suite/catalogue/TextRules.h"
#include "suite/porvane/StoreRefusal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace tavrel {
namespace {

using Status = StoreRefusal::Status;

constexpr std::string_view BasicTextSr = "1.2.840.10008.5.1.4.1.1.88.11";
constexpr std::size_t LongestUid = 64;
constexpr std::size_t LongestId = 64;

std::string Digits(const DateTime& moment) {
    char text[16];
    if (moment.HasDate())
        std::snprintf(text, sizeof text, "%04d%02d%02d", moment.year, moment.month, moment.day);
    else
        std::snprintf(text, sizeof text, "%02d%02d%02d", moment.hour, moment.minute, moment.second);
    return text;
}

/// The first `count` characters of a UTF-8 text.
std::string_view FirstCharacters(std::string_view text, std::size_t count) {
    for (std::size_t at = 0; at < text.size(); ++at)
        if ((static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U && count-- == 0)
            return text.substr(0, at);
    return text;
}

/// Without blanks around it, and no longer than its column.
std::string Catalogued(std::string text, std::size_t longest) {
    text = ForCatalogue(std::move(text));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    text = text.substr(first, text.find_last_not_of(' ') - first + 1);
    return std::string(FirstCharacters(text, longest));
}

class HeaderReader {
public:
    explicit HeaderReader(const DataSetList& object) : object_(object) {}

    std::string Text(Tag tag, std::string_view vr, std::size_t longest) const {
        const Value value = object_.GetElementValue(0, tag, vr);
        if (const auto* moment = std::get_if<DateTime>(&value))
            return Digits(*moment);
        if (const auto* number = std::get_if<std::int16_t>(&value))
            return std::to_string(*number);
        const auto* text = std::get_if<std::string>(&value);
        return text ? Catalogued(*text, longest) : std::string();
    }

    /// UIDs name folders and stand in statements: digits and points alone may pass.
    std::string Uid(Tag tag, const char* name) const {
        const std::string uid = Text(tag, "UI", LongestUid + 1);
        const bool valid = !uid.empty() && uid.size() <= LongestUid && uid.front() != '.' &&
                           uid.find_first_not_of("0123456789.") == std::string::npos;
        if (!valid)
            throw StoreRefusal(Status::CannotUnderstand, std::string("no valid ") + name);
        return uid;
    }

    std::optional<int> Integer(Tag tag) const {
        const std::string text = Text(tag, "IS", 16);
        const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
        const char* end = text.data() + text.size();
        int number = 0;
        const auto [stop, failure] = std::from_chars(begin, end, number);
        if (failure != std::errc() || stop != end)
            return std::nullopt;
        return number;
    }

private:
    const DataSetList& object_;
};

std::string CataloguedModality(const ObjectHeader& header, const std::string& modality) {
    if (header.IsReport())
        return "SR";
    if (modality == "SR")
        return "SR-OTHER";
    return modality.empty() ? "OT" : modality;
}

std::shared_ptr<DataSetList> OpenObject(DicomLibrary& library, const std::string& path,
                                        const std::string& sopClassUid) {
    // A report is opened whole with its series, so it is proved readable before it joins that folder.
    if (sopClassUid == BasicTextSr) {
        auto report = library.NewDataSetList();
        report->LoadFile(path);
        return report;
    }
    return library.OpenImageSeries(std::array{path});
}

ObjectHeader ReadHeader(const HeaderReader& read) {
    ObjectHeader header;
    header.sopClassUid = read.Uid({0x0008, 0x0016}, "SOP Class UID");
    header.sopInstanceUid = read.Uid({0x0008, 0x0018}, "SOP Instance UID");
    header.instanceNumber = read.Integer({0x0020, 0x0013});

    header.seriesUid = read.Uid({0x0020, 0x000E}, "Series Instance UID");
    header.modality = CataloguedModality(header, read.Text({0x0008, 0x0060}, "CS", 16));
    header.seriesNumber = read.Integer({0x0020, 0x0011});
    header.seriesDescription = read.Text({0x0008, 0x103E}, "LO", 255);

    header.studyUid = read.Uid({0x0020, 0x000D}, "Study Instance UID");
    header.studyDate = read.Text({0x0008, 0x0020}, "DA", 16);
    header.studyTime = read.Text({0x0008, 0x0030}, "TM", 16);
    header.studyDescription = read.Text({0x0008, 0x1030}, "LO", 255);
    header.referringPhysician = read.Text({0x0008, 0x0090}, "PN", 255);
    header.accessionNumber = read.Text({0x0008, 0x0050}, "SH", 16);

    header.patientId = read.Text({0x0010, 0x0020}, "LO", LongestId + 1);
    // Cut identifiers could make two people one; so could an empty one.
    if (FirstCharacters(header.patientId, LongestId) != header.patientId)
        throw StoreRefusal(Status::CannotUnderstand, "Patient ID longer than 64 characters");
    if (header.patientId.empty())
        header.patientId = header.studyUid;
    header.patientName = read.Text({0x0010, 0x0010}, "PN", 255);
    header.birthDate = read.Text({0x0010, 0x0030}, "DA", 16);
    header.sex = read.Text({0x0010, 0x0040}, "CS", 16);
    return header;
}

} // namespace

bool ObjectHeader::IsReport() const {
    return sopClassUid == BasicTextSr;
}

ObjectHeader ReadObjectHeader(DicomLibrary& library, const std::string& path, const std::string& sopClassUid) {
    try {
        const auto object = OpenObject(library, path, sopClassUid);
        return ReadHeader(HeaderReader(*object));
    } catch (const Error& error) {
        throw StoreRefusal(Status::CannotUnderstand, error.description);
    }
}

} // namespace tavrel
