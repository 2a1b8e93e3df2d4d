#include "sr/VersionOrder.h"

#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/content/Items.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>

namespace tavrel {
namespace {

/// What is known of each version without parsing it.
struct Version {
    std::string uid;
    DateTime written;
};

std::vector<std::string> PredecessorsOf(const DicomDataSet& version) {
    std::vector<std::string> uids;
    ForEachItem(version, attribute::PredecessorDocumentsSequence, [&](const DicomDataSet& study) {
        ForEachItem(study, attribute::ReferencedSeriesSequence, [&](const DicomDataSet& series) {
            ForEachItem(series, attribute::ReferencedSopSequence, [&](const DicomDataSet& document) {
                uids.push_back(TextOf(document, attribute::ReferencedSopInstanceUid));
            });
        });
    });
    return uids;
}

Version Known(const DicomDataSet& version) {
    Version known{TextOf(version, attribute::SopInstanceUid), {}};
    const DateTime date = DateTimeOf(version.GetValue(attribute::ContentDate));
    known.written = DateTimeOf(version.GetValue(attribute::ContentTime));
    known.written.year = date.year;
    known.written.month = date.month;
    known.written.day = date.day;
    return known;
}

/// The order of a newest version that names all others: as it names them. Nothing when it leaves one out.
std::optional<std::vector<int>> OrderNamedBy(int newest, const DataSetList& versions,
                                             const std::vector<Version>& known) {
    std::unordered_map<std::string, std::size_t> places;
    for (auto& uid : PredecessorsOf(*versions.Item(newest)))
        places.try_emplace(std::move(uid), places.size());
    std::vector<std::pair<std::size_t, int>> others;
    for (int index = 0; index < static_cast<int>(known.size()); ++index) {
        if (index == newest)
            continue;
        const auto place = places.find(known[static_cast<std::size_t>(index)].uid);
        if (place == places.end())
            return std::nullopt;
        others.emplace_back(place->second, index);
    }
    std::ranges::sort(others);
    std::vector<int> order;
    order.reserve(known.size());
    for (const auto& [place, index] : others)
        order.push_back(index);
    order.push_back(newest);
    return order;
}

/// Where a version stands among those that it does not name and that do not name it: approved, when, which file.
using Rank = std::tuple<bool, DateTime, int>;

struct Link {
    Rank rank;
    std::vector<std::size_t> successors{};
    int awaited = 0; ///< how many of those that it names are not in the order yet
};

std::vector<Link> ReadChain(DicomLibrary& dicom, const std::vector<Version>& known,
                            std::span<const std::string> files) {
    std::unordered_map<std::string_view, std::size_t> byUid;
    for (std::size_t index = 0; index < known.size(); ++index)
        byUid.try_emplace(known[index].uid, index);
    std::vector<Link> links(known.size());
    for (std::size_t index = 0; index < known.size(); ++index) {
        bool approved = false;
        std::vector<std::string> predecessors;
        const auto read = [&] {
            const auto one = dicom.NewDataSetList();
            one->LoadFile(files[index]);
            approved = TextOf(one->GetElementValue(0, attribute::CompletionFlag)) == "COMPLETE";
            predecessors = PredecessorsOf(*one->Item(0));
        };
        Trap(read, [](const Error&) {}); // whoever shows the version tells it
        links[index].rank = {approved, known[index].written, static_cast<int>(index)};
        for (const auto& uid : predecessors)
            if (const auto found = byUid.find(uid); found != byUid.end() && found->second != index) {
                links[found->second].successors.push_back(index);
                ++links[index].awaited;
            }
    }
    return links;
}

/// Each version after those that it names. Of versions that name each other in a circle the lowest goes first.
std::vector<int> OrderOfChain(std::vector<Link> links) {
    std::set<Rank> remaining, ready;
    for (const auto& link : links) {
        remaining.insert(link.rank);
        if (link.awaited == 0)
            ready.insert(link.rank);
    }
    std::vector<int> order;
    while (!remaining.empty()) {
        const Rank next = ready.empty() ? *remaining.begin() : *ready.begin();
        ready.erase(next);
        remaining.erase(next);
        const int index = std::get<int>(next);
        order.push_back(index);
        for (const std::size_t successor : links[static_cast<std::size_t>(index)].successors)
            if (--links[successor].awaited == 0 && remaining.contains(links[successor].rank))
                ready.insert(links[successor].rank);
    }
    return order;
}

} // namespace

std::vector<int> OrderOfVersions(DicomLibrary& dicom, const DataSetList& versions, std::span<const std::string> files) {
    std::vector<int> asFiled(files.size());
    std::iota(asFiled.begin(), asFiled.end(), 0);
    if (asFiled.size() < 2)
        return asFiled;
    std::vector<Version> known;
    known.reserve(asFiled.size());
    for (const int index : asFiled)
        known.push_back(Known(*versions.Item(index)));
    const auto written = [&](int index) { return known[static_cast<std::size_t>(index)].written; };
    // Of two that were written at the same moment the one that was filed later.
    const int latest = *std::ranges::max_element(asFiled.rbegin(), asFiled.rend(), {}, written);
    for (const int newest : {asFiled.back(), latest}) {
        std::optional<std::vector<int>> order;
        Trap([&] { order = OrderNamedBy(newest, versions, known); }, [](const Error&) {});
        if (order)
            return *order;
    }
    return OrderOfChain(ReadChain(dicom, known, files));
}

std::size_t PredecessorCount(const DicomDataSet& version) {
    return PredecessorsOf(version).size();
}

} // namespace tavrel
