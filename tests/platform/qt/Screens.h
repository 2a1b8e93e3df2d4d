#pragma once

#include <QByteArrayList>
#include <QTemporaryFile>

#include <initializer_list>

namespace tavrel::test {

/// A desk without a display, with these screens, for the application that is made in its lifetime.
class Screens {
public:
    /// Each as "DP-1", 0, 0, 1920, 1080: its name, where it begins, how wide and high it is.
    struct Screen {
        const char* name;
        int x, y, width, height;
    };
    explicit Screens(std::initializer_list<Screen> screens) {
        QByteArrayList texts;
        for (const auto& [name, x, y, width, height] : screens)
            texts += QString(R"({"name": "%1", "x": %2, "y": %3, "width": %4, "height": %5})")
                         .arg(name)
                         .arg(x)
                         .arg(y)
                         .arg(width)
                         .arg(height)
                         .toUtf8();
        file_.open();
        file_.write(R"({"screens": [)" + texts.join(',') + "]}");
        file_.close();
        qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + file_.fileName()).toLocal8Bit());
    }

private:
    QTemporaryFile file_;
};

} // namespace tavrel::test
