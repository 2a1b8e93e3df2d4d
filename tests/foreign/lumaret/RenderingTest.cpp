#include "platform/error.h"
#include "suite/lumaret/ImageFile.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace tavrel {
namespace {

const QString Samples = TAVREL_PYDICOM_FILES;

QStringList SampleFiles() {
    QStringList paths;
    for (const QString& name : QDir(Samples).entryList({"*.dcm"}, QDir::Files, QDir::Name))
        paths += Samples + '/' + name;
    return paths;
}

/// DCMTK's own picture of a frame, or none when it cannot make one. JPEG-LS has a program of its own.
QImage ToolkitsPicture(const QString& path, int frame, const GreyWindow& window) {
    const QTemporaryDir folder;
    const QString picture = folder.filePath("picture.pnm");
    QStringList arguments = {"+F", QString::number(frame + 1), "--write-8-bit-pnm"};
    if (window.width >= 1)
        arguments << "+Ww" << QString::number(window.center, 'g', 15) << QString::number(window.width, 'g', 15);
    arguments << path << picture;
    if (QProcess::execute("dcmj2pnm", arguments) != 0 && QProcess::execute("dcml2pnm", arguments) != 0)
        return {};
    return QImage(picture);
}

std::string NameOf(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param.substr(info.param.rfind('/') + 1);
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

std::vector<std::string> Paths() {
    std::vector<std::string> paths;
    for (const QString& path : SampleFiles())
        paths.push_back(path.toStdString());
    return paths;
}

class TheViewersPicture : public testing::TestWithParam<std::string> {
protected:
    static void SetUpTestSuite() { ImageFile::RegisterDecoders(); }
};

TEST_P(TheViewersPicture, EqualsTheToolkitsPixelForPixelOrSaysWhyThereIsNone) {
    const QString path = QString::fromStdString(GetParam());
    std::unique_ptr<ImageFile> file;
    try {
        file = std::make_unique<ImageFile>(path);
    } catch (const Error& error) {
        EXPECT_NE(error.description.find("cannot be shown: "), std::string::npos);
        EXPECT_TRUE(ToolkitsPicture(path, 0, {}).isNull()) << "the toolkit draws it: " << error.description;
        return;
    }
    const int last = file->FrameCount() - 1;
    for (const int frame : {0, last}) {
        GreyWindow window = file->OwnWindow(frame);
        window = {std::round(window.center), std::round(window.width)};
        const QImage theirs = ToolkitsPicture(path, frame, window);
        ASSERT_FALSE(theirs.isNull());
        EXPECT_EQ(file->Render(frame, window, false).convertToFormat(QImage::Format_RGB32),
                  theirs.convertToFormat(QImage::Format_RGB32));
    }
}

INSTANTIATE_TEST_SUITE_P(RealImages, TheViewersPicture, testing::ValuesIn(Paths()), NameOf);

} // namespace
} // namespace tavrel
