#include "platform/dcmtk/DcmtkDataSetList.h"

#include "platform/dcmtk/DicomFailure.h"

namespace tavrel {

DcmtkDataSetList::DcmtkDataSetList(std::shared_ptr<const DcmtkNetwork> network) : network_(std::move(network)) {}

DcmtkDataSetList::DcmtkDataSetList(std::shared_ptr<const DcmtkNetwork> network,
                                   std::span<const std::string> headerPaths)
    : network_(std::move(network)), headerPaths_(headerPaths.begin(), headerPaths.end()),
      dataSets_(headerPaths.size()) {}

void DcmtkDataSetList::LoadFile(std::string_view path, int, int) {
    dataSets_.push_back(std::make_shared<DcmtkDataSet>(network_, DicomFile::Checked(path)));
}

int DcmtkDataSetList::Count() const {
    return static_cast<int>(dataSets_.size());
}

void DcmtkDataSetList::AddDataSet(int source) {
    dataSets_.push_back(source == -1 ? std::make_shared<DcmtkDataSet>(network_) : At(source).Copy());
}

void DcmtkDataSetList::RemoveDataSet(int index) {
    static_cast<void>(At(index)); // an index that names none is an error
    dataSets_.erase(dataSets_.begin() + index);
    if (static_cast<std::size_t>(index) < headerPaths_.size())
        headerPaths_.erase(headerPaths_.begin() + index);
}

DataSetHandle DcmtkDataSetList::Item(int index) const {
    return At(index).shared_from_this();
}

DcmtkDataSet& DcmtkDataSetList::At(int index) const {
    if (index < 0 || index >= Count())
        throw DicomFailure(DicomFault::NoSuchDataSet, "No data set at index " + std::to_string(index));
    auto& dataSet = dataSets_[static_cast<std::size_t>(index)];
    if (!dataSet)
        dataSet = std::make_shared<DcmtkDataSet>(network_,
                                                 DicomFile::Unopened(headerPaths_[static_cast<std::size_t>(index)]));
    return *dataSet;
}

} // namespace tavrel
