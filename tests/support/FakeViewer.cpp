#include "tests/support/FakeViewer.h"

#include "platform/error.h"

namespace tavrel::test {

namespace {

class FakeViewer : public Viewer {
public:
    explicit FakeViewer(FakeViewerLink& link) : link_(link) {}

    void SRFilename(std::string_view filename) override {
        Record("SRFilename");
        link_.srFilename = filename;
    }
    void LUTName(std::string_view name) override {
        Record("LUTName");
        link_.lutName = name;
    }
    void ViewPars(const ViewParametersHandle& parameters) override {
        Record("ViewPars");
        link_.viewPars = parameters;
    }
    void ViewRefertImages() override {
        Record("ViewRefertImages");
        link_.images.push_back(link_.srFilename);
    }
    void ClearRefertList() override {
        Record("ClearRefertList");
        link_.images.clear();
    }

private:
    void Record(const std::string& call) {
        link_.calls.push_back(call);
        if (link_.onCall)
            link_.onCall(call);
        if (link_.failing == call)
            throw Error(462, "Lumaret.Viewer", "The viewer does not answer");
    }

    FakeViewerLink& link_;
};

} // namespace

std::unique_ptr<Viewer> FakeViewerLink::Create() {
    if (absent)
        throw Error(429, "Lumaret.Viewer", "There is no viewer");
    ++created;
    return std::make_unique<FakeViewer>(*this);
}

} // namespace tavrel::test
