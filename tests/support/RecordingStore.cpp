#include "tests/support/RecordingStore.h"

namespace tavrel::test {

namespace {

class RecordedDataSet : public ForwardingDataSet {
public:
    RecordedDataSet(RecordingStore& store, const DataSetHandle& target)
        : ForwardingDataSet(target), store_(store), target_(target) {}

    void StoreToNode(std::string_view host, std::string_view port, std::string_view callingAe,
                     std::string_view calledAe, bool wait) override {
        ForwardingDataSet::StoreToNode(host, port, callingAe, calledAe, wait);
        store_.sent.push_back(
            {std::string(host), std::string(port), std::string(callingAe), std::string(calledAe), wait, target_});
        if (store_.answer)
            store_.answer(store_.sent.back());
    }

private:
    RecordingStore& store_;
    DataSetHandle target_;
};

class RecordedList : public ForwardingDataSetList {
public:
    RecordedList(RecordingStore& store, std::shared_ptr<DataSetList> target)
        : ForwardingDataSetList(std::move(target)), store_(store) {}

    DataSetHandle Item(int index) const override {
        return std::make_shared<RecordedDataSet>(store_, ForwardingDataSetList::Item(index));
    }

private:
    RecordingStore& store_;
};

} // namespace

std::shared_ptr<DataSetList> RecordingStore::NewDataSetList() {
    return std::make_shared<RecordedList>(*this, ForwardingLibrary::NewDataSetList());
}

} // namespace tavrel::test
