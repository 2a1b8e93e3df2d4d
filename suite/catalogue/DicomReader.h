#pragma once

#include "platform/background.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/service_events.h"

namespace tavrel {

/// The DICOM library for programs that read objects and send none.
class DicomReader {
public:
    DicomLibrary& Library() { return library_; }

private:
    class AtOnce final : public Background {
        void Run(std::string_view, const std::function<void()>& work) override { work(); }
    };
    class NoEvents final : public ServiceEvents {
        std::unique_ptr<ServiceObject> Attach(ServiceEventHandler&) override {
            return std::make_unique<ServiceObject>();
        }
        void AwaitSentEvents() override {}
    };

    AtOnce atOnce_;
    NoEvents noEvents_;
    DcmtkLibrary library_{atOnce_, noEvents_, {}};
};

} // namespace tavrel
