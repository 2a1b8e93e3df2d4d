#pragma once

#include "platform/dcmtk/DcmtkDataSet.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavrel {

class DcmtkDataSetList final : public DataSetList {
public:
    explicit DcmtkDataSetList(std::shared_ptr<const DcmtkNetwork> network);
    /// The headers of these files, each read when it is first asked for.
    DcmtkDataSetList(std::shared_ptr<const DcmtkNetwork> network, std::span<const std::string> headerPaths);

    void LoadFile(std::string_view path, int flag = -1, int reserved = 0) override;
    void Arrange(int) override {}
    int Count() const override;
    void AddDataSet(int source) override;
    void RemoveDataSet(int index) override;
    DataSetHandle Item(int index) const override;

private:
    DcmtkDataSet& At(int index) const;

    std::shared_ptr<const DcmtkNetwork> network_;
    std::vector<std::string> headerPaths_; ///< of an image series, in its order
    /// A data set of an image series is made when it is first asked for.
    mutable std::vector<std::shared_ptr<DcmtkDataSet>> dataSets_;
};

} // namespace tavrel
