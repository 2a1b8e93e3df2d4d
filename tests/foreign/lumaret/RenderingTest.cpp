#include "platform/error.h"
#include "suite/lumaret/ImageFile.h"

#include <QDirIterator>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace tavrel {
namespace {

const QString Samples = TAVREL_PYDICOM_FILES;

/// The sample files that are DICOM files, by their path below the samples, in its order.
QStringList SampleFiles() {
    QStringList paths;
    for (QDirIterator files(Samples, QDir::Files, QDirIterator::Subdirectories); files.hasNext();) {
        const QString path = files.next();
        QFile file(path);
        const bool marked = file.open(QFile::ReadOnly) && file.seek(128) && file.read(4) == "DICM";
        if (marked || path.endsWith(".dcm"))
            paths += QDir(Samples).relativeFilePath(path);
    }
    paths.sort();
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
    std::string name = info.param;
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

class TheViewersPicture : public testing::TestWithParam<std::string> {};

TEST_P(TheViewersPicture, EqualsTheToolkitsPixelForPixelOrSaysWhyThereIsNone) {
    const QString path = Samples + '/' + QString::fromStdString(GetParam());
    std::unique_ptr<ImageFile> file;
    try {
        file = std::make_unique<ImageFile>(path);
    } catch (const Error& error) {
        EXPECT_NE(error.description.find("cannot be shown: "), std::string::npos);
        // The one kind that is refused although the toolkit draws it: it may grow without bound.
        const bool refused = error.description.find("deflated") != std::string::npos;
        EXPECT_TRUE(refused || ToolkitsPicture(path, 0, {}).isNull()) << "the toolkit draws it: " << error.description;
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

/// Draws the first frame, or the words that stand in its place, and whose it is; answers whether there
/// is a picture.
bool DrawSample(QPainter& painter, QRect cell, const QString& name) {
    constexpr int words = 12;
    const QRect picture = cell.adjusted(0, 0, -2, -words);
    painter.drawText(cell.adjusted(2, cell.height() - words, -2, 0), Qt::AlignLeft, name.section('/', -1));
    try {
        const QImage frame = ImageFile(Samples + '/' + name).Render(0, {}, false);
        painter.drawImage(picture.topLeft(),
                          frame.scaled(picture.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
        return true;
    } catch (const Error& error) {
        painter.drawText(picture.adjusted(2, 2, -2, -2), Qt::AlignCenter | Qt::TextWordWrap,
                         QString::fromStdString(error.description).section(": ", 1));
        return false;
    }
}

bool HoldsAnImage(const QString& name) {
    try {
        ImageFile file(Samples + '/' + name);
        return true;
    } catch (const Error& error) {
        return error.description.find("it holds no image") == std::string::npos;
    }
}

/// One picture of all that the viewer shows of the samples, or says instead, for people to look at.
TEST(TheContactSheet, IsDrawn) {
    constexpr int across = 12;
    constexpr QSize cell(100, 112);
    QStringList names = SampleFiles();
    names.removeIf([](const QString& name) { return !HoldsAnImage(name); });
    const int down = (static_cast<int>(names.size()) + across - 1) / across;
    QImage sheet(across * cell.width(), down * cell.height(), QImage::Format_RGB32);
    sheet.fill(Qt::black);
    QPainter painter(&sheet);
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setPixelSize(9);
    painter.setFont(font);
    int shown = 0;
    for (int i = 0; i < names.size(); ++i)
        shown += DrawSample(painter, {QPoint(i % across * cell.width(), i / across * cell.height()), cell}, names[i]);
    painter.end();
    EXPECT_GE(shown, 70);
    EXPECT_TRUE(sheet.save(LUMARET_CONTACT_SHEET));
}

INSTANTIATE_TEST_SUITE_P(RealImages, TheViewersPicture, testing::ValuesIn(Paths()), NameOf);

} // namespace
} // namespace tavrel
