// View parameters as a client of the bus sends them: a key and a value of any type, over and over.

#include "platform/dbus/ViewParametersMap.h"
#include "suite/lumaret/ViewGeometry.h"
#include "tests/fuzz/Entry.h"

#include <cmath>
#include <cstring>

using namespace tavrel;

namespace {

class Bytes {
public:
    Bytes(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), left_(size) {}

    bool AtEnd() const { return left_ == 0; }

    template <typename Number> Number Next() {
        Number number{};
        const std::size_t count = std::min(sizeof number, left_);
        std::memcpy(&number, bytes_, count);
        bytes_ += count;
        left_ -= count;
        return number;
    }

private:
    const std::uint8_t* bytes_;
    std::size_t left_;
};

QVariant NextValue(Bytes& bytes) {
    switch (bytes.Next<std::uint8_t>() % 8) {
    case 0:
        return bytes.Next<double>();
    case 1:
        return bytes.Next<std::int32_t>();
    case 2:
        return QVariant::fromValue(bytes.Next<std::int64_t>());
    case 3:
        return QVariant::fromValue(bytes.Next<std::uint64_t>());
    case 4:
        return QVariant::fromValue(bytes.Next<std::int16_t>());
    case 5:
        return bytes.Next<std::uint8_t>() % 2 == 1;
    case 6:
        return QString::number(bytes.Next<double>());
    default:
        return {};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QStringList keys = ViewParametersMap(std::make_shared<ViewParameters>()).keys() + QStringList{"Other"};
    Bytes input(bytes, size);
    QVariantMap sent;
    while (!input.AtEnd()) {
        const QString& key = keys[input.Next<std::uint8_t>() % keys.size()];
        sent.insert(key, NextValue(input));
    }
    const auto parameters = ViewParametersOf(sent);
    if (!parameters)
        return 0;
    const ViewGeometry geometry{{640, 480}, {64, 48}, 1};
    const ViewParameters drawn = geometry.Drawable(*parameters);
    const QPointF corner = geometry.ImageToView(drawn).map(QPointF(64, 48));
    test::Require(std::isfinite(corner.x()) && std::isfinite(corner.y()));
    geometry.DisplayedArea(drawn);
    return 0;
}
