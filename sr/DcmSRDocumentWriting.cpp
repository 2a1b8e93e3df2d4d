#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/DcmSRDocument.h"
#include "sr/UnwritableText.h"
#include "sr/forms/VersionForm.h"

#include <string>
#include <string_view>
#include <utility>

namespace tavrel {
namespace {

/// The file of another version that the storage service names; empty when it names none.
std::string FileNamedIn(std::string_view refusal) {
    constexpr std::string_view extension = ".dcm";
    const auto end = refusal.find(extension);
    if (end == std::string_view::npos)
        return {};
    const auto begin = refusal.find_last_of(" \"/\\", end) + 1; // 0 behind none
    return std::string(refusal.substr(begin, end + extension.size() - begin));
}

} // namespace

void DcmSRDocument::AppendVersion() {
    const auto form = FormOf(global_);
    const VersionContent content{titleNode_, reading_, bodyPartNode_,      findings_,
                                 diagnoses_, images_,  status_ == Approved};
    form->RequireWritable(content);
    DataSetList& versions = Versions();
    if (!damage_.empty())
        throw Error(Fault::Missing, "DcmSRDocument",
                    "No version can be written after one that cannot be read. " + damage_);
    const int before = versions.Count();
    if (freshVersion_)
        static_cast<void>(versions.Item(before - 1)); // a report without any version has none to write
    try {
        form->AppendTo(versions);
        form->Write(content, versions, freshVersion_ ? before - 1 : before);
    } catch (...) {
        if (versions.Count() > before)
            TakeBackAppended();
        throw;
    }
}

std::string DcmSRDocument::UnwritablePatient() const {
    DataSetList& versions = Versions();
    const int last = versions.Count() - 1;
    const std::string characterSet(FormOf(global_)->CharacterSet());
    if (last < 0 || TextOf(versions.GetElementValue(last, attribute::SpecificCharacterSet)) == characterSet)
        return {}; // what was written once can be written again
    versions.AddDataSet(last);
    const DataSetHandle trial = versions.Item(last + 1);
    versions.RemoveDataSet(last + 1);
    trial->SetValue(attribute::SpecificCharacterSet, 0, characterSet);
    return WhatCannotBeWrittenOfThePatient(*trial);
}

void DcmSRDocument::KeepAppended() {
    if (freshVersion_)
        Versions().RemoveDataSet(Versions().Count() - 2);
    BuildVersionLabels();
}

void DcmSRDocument::TakeBackAppended() {
    Versions().RemoveDataSet(Versions().Count() - 1);
}

void DcmSRDocument::Save(std::string_view path) {
    TrapShort(global_.ports.windows, "", [&] {
        AppendVersion();
        KeepAppended();
        Versions().Item(versionIndex_)->SaveToFile(path);
        freshVersion_ = false;
        updated_ = false;
    });
}

Delivery DcmSRDocument::Send() {
    Delivery delivery;
    Trap(
        [&] {
            AppendVersion();
            const DataSetHandle version = Versions().Item(Versions().ItemCount() - 1);
            delivery = StoreOrKeep(global_, *version);
            // A service that tells of versions which cannot be found is not the suite's, or sees another folder. The
            // list of a shared folder may be older than what the service says.
            if (const int before = Versions().Count() - 1; delivery.fate == Delivery::Fate::Overtaken &&
                                                           LookForOthersThan(before, FileNamedIn(delivery.why)).empty())
                delivery = KeepUnsent(global_.ports, *version, delivery.why);
            if (delivery.fate == Delivery::Fate::Stored || delivery.fate == Delivery::Fate::Kept)
                return KeepAppended();
            if (delivery.fate == Delivery::Fate::Overtaken) {
                delivery.why.clear(); // who shows the others tells it
                return TakeBackAppended();
            }
            // Told whole, where the refusal names the first of it: no save pays for the look but one that failed.
            if (auto words = WhatCannotBeWritten(*Versions().Item(Versions().Count() - 1)); !words.empty())
                delivery.why = std::move(words);
            TakeBackAppended();
        },
        [&](const Error& error) { delivery.why = error.description; });
    if (!delivery.why.empty())
        global_.ports.windows.Ask({.text = delivery.why, .title = {}});
    return delivery;
}

} // namespace tavrel
