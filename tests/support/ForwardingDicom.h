#pragma once

#include "platform/dicom.h"

#include <utility>

/// Wrappers that pass every call on, so that a fault test overrides the one call that shall fail.
/// `document.Series(std::make_shared<Failing>(document.Series()))` puts a list into place.
namespace tavrel::test {

class ForwardingDataSet : public DicomDataSet {
public:
    explicit ForwardingDataSet(DataSetHandle target) : target_(std::move(target)) {}

    Value GetValue(const Attribute& attribute, int valueIndex) const override {
        return target_->GetValue(attribute, valueIndex);
    }
    void SetValue(const Attribute& attribute, int valueIndex, const Value& value) override {
        target_->SetValue(attribute, valueIndex, value);
    }
    void SaveToFile(std::string_view path) const override { target_->SaveToFile(path); }
    std::vector<Unwritable> FindUnwritable() const override { return target_->FindUnwritable(); }
    int GetSequenceItemCount(Tag sequence) const override { return target_->GetSequenceItemCount(sequence); }
    DataSetHandle GetSequenceItem(Tag sequence, int index) const override {
        return target_->GetSequenceItem(sequence, index);
    }
    /// An item that is itself a wrapper is put in without it.
    void SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) override {
        const auto wrapper = std::dynamic_pointer_cast<ForwardingDataSet>(item);
        target_->SetSequenceItem(sequence, index, wrapper ? wrapper->target_ : item);
    }
    void SetEmptySequence(Tag sequence) override { target_->SetEmptySequence(sequence); }
    void StoreToNode(std::string_view host, std::string_view port, std::string_view callingAe,
                     std::string_view calledAe, bool wait) override {
        target_->StoreToNode(host, port, callingAe, calledAe, wait);
    }

private:
    DataSetHandle target_;
};

class ForwardingDataSetList : public DataSetList {
public:
    explicit ForwardingDataSetList(std::shared_ptr<DataSetList> target) : target_(std::move(target)) {}

    void LoadFile(std::string_view path, int flag, int reserved) override { target_->LoadFile(path, flag, reserved); }
    void Arrange(int order) override { target_->Arrange(order); }
    int Count() const override { return target_->Count(); }
    void AddDataSet(int source) override { target_->AddDataSet(source); }
    void RemoveDataSet(int index) override { target_->RemoveDataSet(index); }
    DataSetHandle Item(int index) const override { return target_->Item(index); }

private:
    std::shared_ptr<DataSetList> target_;
};

class ForwardingLibrary : public DicomLibrary {
public:
    explicit ForwardingLibrary(DicomLibrary& target) : target_(target) {}

    DataSetHandle NewDataSet() override { return target_.NewDataSet(); }
    std::shared_ptr<DataSetList> NewDataSetList() override { return target_.NewDataSetList(); }
    std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) override {
        return target_.OpenImageSeries(paths);
    }
    std::vector<LostCharacter> FindUnwritable(std::string_view text, std::string_view characterSet) const override {
        return target_.FindUnwritable(text, characterSet);
    }

private:
    DicomLibrary& target_;
};

} // namespace tavrel::test
