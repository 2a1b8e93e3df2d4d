#include "platform/qt/FormWindow.h"
#include "platform/qt/InputBlock.h"
#include "platform/qt/Look.h"
#include "platform/qt/Shortcuts.h"
#include "tests/editor/ReportingStation.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QStyleOption>
#include <QTest>
#include <QToolTip>
#include <gmock/gmock.h>

#include <cmath>
#include <unordered_map>

namespace tavrel::test {
namespace {

using testing::IsEmpty;

double Luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// As the guidelines for accessible contents reckon it, from 1 to 21.
double Contrast(const QColor& one, const QColor& other) {
    const auto [dark, bright] = std::minmax({Luminance(one), Luminance(other)});
    return (bright + 0.05) / (dark + 0.05);
}

QColor Over(const QColor& veil, const QColor& ground) {
    const auto mixed = [&](double part, double of) { return part * veil.alphaF() + of * (1 - veil.alphaF()); };
    return QColor::fromRgbF(static_cast<float>(mixed(veil.redF(), ground.redF())),
                            static_cast<float>(mixed(veil.greenF(), ground.greenF())),
                            static_cast<float>(mixed(veil.blueF(), ground.blueF())));
}

struct Text {
    QString words;
    QRect place; ///< in the window
};

class ShownTexts {
public:
    explicit ShownTexts(QWidget& window) : window_(window) {
        for (const auto* widget : window.findChildren<QWidget*>())
            if (widget->isVisible())
                Add(*widget);
    }
    std::vector<Text> all;

private:
    void Add(const QWidget& widget) {
        // What cannot be used need not stand out.
        if (const auto* label = qobject_cast<const QLabel*>(&widget))
            return Put(widget, label->text(), label->contentsRect());
        if (const auto* view = qobject_cast<const QAbstractItemView*>(&widget))
            return AddRows(*view);
        if (!widget.isEnabled())
            return;
        if (const auto* option = qobject_cast<const QRadioButton*>(&widget))
            Put(widget, option->text(), option->rect().adjusted(24, 0, 0, 0));
        else if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
            Put(widget, button->text(), button->rect().adjusted(10, 5, -10, -5));
        else if (const auto* group = qobject_cast<const QGroupBox*>(&widget))
            Put(widget, group->title(), {9, 8, group->width() / 2, 16});
        else if (const auto* line = qobject_cast<const QLineEdit*>(&widget))
            Put(widget, line->text() + line->placeholderText(), line->rect().adjusted(5, 4, -5, -4));
        else if (const auto* text = qobject_cast<const QPlainTextEdit*>(&widget))
            Put(*text->viewport(), text->toPlainText(), {0, 0, text->viewport()->width(), 40});
    }
    void AddRows(const QAbstractItemView& view) {
        if (const auto* header = qobject_cast<const QHeaderView*>(&view)) {
            for (int section = 0; section < header->count(); ++section)
                Put(*header->viewport(), header->model()->headerData(section, Qt::Horizontal).toString(),
                    {header->sectionViewportPosition(section), 0, header->sectionSize(section), header->height() - 2});
            return;
        }
        for (int row = 0; view.model() && row < view.model()->rowCount(); ++row)
            for (int column = 0; column < view.model()->columnCount(); ++column) {
                const auto cell = view.model()->index(row, column);
                Put(*view.viewport(), cell.data().toString(), view.visualRect(cell));
            }
    }
    void Put(const QWidget& widget, const QString& words, const QRect& place) {
        const QRect inSight = place & widget.visibleRegion().boundingRect(); // a low window is scrolled
        const QRect seen = QRect(widget.mapTo(&window_, inSight.topLeft()), inSight.size()) & window_.rect();
        if (!words.trimmed().isEmpty() && !seen.isEmpty())
            all.push_back({words, seen});
    }

    QWidget& window_;
};

/// Between the ground, which is what most of the place is, and what is farthest from it.
double ContrastWithin(const QImage& picture, const QRect& place) {
    std::unordered_map<QRgb, int> counts;
    for (int y = place.top(); y <= place.bottom(); ++y)
        for (int x = place.left(); x <= place.right(); ++x)
            ++counts[picture.pixel(x, y)];
    const auto ground = std::ranges::max_element(counts, {}, &std::pair<const QRgb, int>::second)->first;
    double most = 1;
    for (const auto& [colour, count] : counts)
        most = std::max(most, Contrast(colour, ground));
    return most;
}

/// Every window with something in it.
class Readable : public testing::TestWithParam<Scheme> {
protected:
    Readable() {
        Dress(GetParam());
        station_.AddCode("StdFinding", "SRT", "M-55400", "Calcification");
        station_.AddCode("StdFinding", "SRT", "M-55410", "Calcified granuloma");
        station_.OpenReport({.patientName = "ROSSINI-BERGAMASCHI^ANNA MARIA LUISA", .versions = 3});
        for (auto* list : {&station_.editor.lstFinding, &station_.editor.lstDiagnosis}) {
            list->Add({"M-55400", "SRT", {"Calcification", "4 mm"}});
            list->Add({"M-55410", "SRT", {"Granuloma", "left"}});
            list->Select(0);
        }
    }
    ~Readable() override { Dress(Scheme::Light); }

    using Look = std::function<void(QWidget&)>;
    static void Show(Form& form, const Look& look) {
        Show(form, form.Name() == "frmReport" ? QSize(1280, 800) : QSize(700, 640), look);
    }
    static void Show(Form& form, QSize size, const Look& look) {
        FormWindow window(form, DesignedLayouts().at(form.Name()));
        window.resize(size);
        window.show();
        QCoreApplication::processEvents();
        look(window);
        window.Dismiss();
    }
    void LookAtAll(const Look& look) {
        auto& editor = station_.editor;
        for (auto* control : std::initializer_list<Control*>{&editor.lblDraft, &editor.cmdPutBack, &editor.cmdDiscard,
                                                             &editor.cmdWritePlainly})
            control->Visible(true);
        editor.lblUnwritable.Text("The file cannot hold \"\u03b1\" (line 1).");
        editor.lblPrintedLength.Text("About 1,980 of the 2,000 characters that can be printed");
        for (const auto tone :
             {Label::Tone::Neutral, Label::Tone::Attention, Label::Tone::Settled, Label::Tone::Failure}) {
            editor.lblState.Emphasis(tone);
            editor.lblDraft.Text("What is typed now");
            for (auto* label : {&editor.lblDraft, &editor.lblUnwritable, &editor.lblPrintedLength, &editor.lblAdvice})
                label->Emphasis(tone);
            Show(editor, look);
        }
        editor.lblPrintedLength.Text("");
        editor.lblAdvice.Text("Dictation ended: a version was shown that cannot be changed");
        Show(editor, look);
        LookAtAComparison(look);
        Show(editor, [&](QWidget& window) { LookAtTheBar(window, look); });
        LookAtCodes(look);
        station_.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .approved = true});
        station_.InChooser([&] { Show(station_.chooser, look); });
        station_.chooser.ShowSRDocuments("1.2.3");
    }
    void LookAtCodes(const Look& look) {
        auto& codes = station_.codeTables;
        station_.editor.cmdFnAdd.Press();
        codes.txtFind.Typed("CALC");
        codes.txtFind.KeyUp();
        codes.lstTable.Select(1);
        Show(codes, look);
        codes.optManage(1).Value(true);
        codes.txtNewMeaning.Text("Calcified");
        Show(codes, look);
        codes.cmdClose.Press();
        station_.editor.cmdFnModify.Press();
        Show(codes, look);
        codes.cmdClose.Press();
    }
    void LookAtAComparison(const Look& look) {
        frmCompare comparison(station_.global);
        comparison.lstEarlier.AddItem("14/11/2026 08:00:00");
        comparison.lblDifference.Text("1 word added, 1 word removed.");
        comparison.lblDifference.Emphasis(Label::Tone::Attention);
        comparison.txtDifference.Text("[removed: The][added: A] heart");
        comparison.txtDifference.Marks(
            {{0, 14, TextMark::Kind::Removed}, {14, 10, TextMark::Kind::Added}, {25, 5, TextMark::Kind::Wrong}});
        Show(comparison, look);
    }
    static void LookAtTheBar(QWidget& window, const Look& look) {
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(window.windowHandle(), Qt::Key_F, Qt::ControlModifier);
        QCoreApplication::processEvents();
        look(window); // the word that is asked for
        QTest::keyClick(window.windowHandle(), 'q');
        QTest::keyClick(window.windowHandle(), 'q');
        QCoreApplication::processEvents();
        look(window);
    }

    ReportingStation station_;
};

std::vector<std::string> FaintTexts(QWidget& window) {
    constexpr int enlarged = 2; // so that a stroke has a middle in its full colour
    QImage picture(window.size() * enlarged, QImage::Format_RGB32);
    picture.setDevicePixelRatio(enlarged);
    window.render(&picture);
    std::vector<std::string> faint;
    for (const auto& [words, place] : ShownTexts(window).all) {
        const QRect enlargedPlace(place.topLeft() * enlarged, place.size() * enlarged);
        if (const double contrast = ContrastWithin(picture, enlargedPlace & picture.rect()); contrast < 4.5)
            faint.push_back(words.toStdString() + ": " + std::to_string(contrast));
    }
    return faint;
}

TEST_P(Readable, EachTextStandsOutFromItsGround) {
    LookAtAll([](QWidget& window) { EXPECT_THAT(FaintTexts(window), IsEmpty()); });
}

TEST_P(Readable, AWaitAndATipStandOutToo) {
    Show(station_.editor, [](QWidget& window) {
        const InputBlock block("Storing the version ...");
        ASSERT_TRUE(QTest::qWaitFor([&] { return window.findChild<QWidget*>("paneVeilBoard") != nullptr; }));
        QTest::qWait(20);
        EXPECT_THAT(FaintTexts(*window.findChild<QWidget*>("paneVeilBoard")), IsEmpty());
    });
    const QPalette palette = QApplication::palette();
    EXPECT_GE(Contrast(palette.color(QPalette::ToolTipText), palette.color(QPalette::ToolTipBase)), 4.5);
}

TEST_P(Readable, AMarkedTextStandsOutFromItsGround) {
    LookAtAComparison([](QWidget& window) {
        const auto* text = window.findChild<QPlainTextEdit*>("txtDifference");
        const QPalette palette = text->viewport()->palette();
        const QColor base = palette.color(QPalette::Base);
        ASSERT_EQ(text->extraSelections().size(), 3);
        for (const auto& mark : text->extraSelections()) {
            const QColor tint = mark.format.background().color(), line = mark.format.underlineColor();
            EXPECT_GE(Contrast(palette.color(QPalette::Text), Over(tint, base)), 4.5) << tint.name().toStdString();
            EXPECT_TRUE(!line.isValid() || Contrast(line, base) >= 4.5) << line.name().toStdString();
        }
    });
}

/// What does not fit its place, or the window.
std::vector<std::string> Cut(const QWidget& window) {
    std::vector<std::string> cut;
    const auto* rows = window.findChild<QWidget*>("paneRows");
    const auto& columns = rows ? *rows : window;
    const auto require = [&](bool fits, const QString& words) {
        if (!fits)
            cut.push_back(words.toStdString());
    };
    for (const auto* widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible())
            continue;
        const QSize needed = widget->sizeHint(), given = widget->size();
        if (const auto* label = qobject_cast<const QLabel*>(widget)) {
            const bool cuttable = label->sizePolicy().horizontalPolicy() == QSizePolicy::Ignored; // its tip says all
            const bool high = !label->hasHeightForWidth() || label->heightForWidth(given.width()) <= given.height();
            require(cuttable || (label->hasHeightForWidth() ? high : needed.width() <= given.width()), label->text());
        } else if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            require(needed.width() <= given.width() && needed.height() <= given.height(), button->text());
        } else if (const auto* group = qobject_cast<const QGroupBox*>(widget)) {
            const int width = QFontMetrics(group->font()).horizontalAdvance(WithoutMnemonic(group->title()));
            require(width + 18 <= given.width(), group->title());
        } else if (const auto* header = qobject_cast<const QHeaderView*>(widget)) {
            for (int section = 0; section < header->count(); ++section)
                require(header->sectionSizeHint(section) <= header->sectionSize(section),
                        header->model()->headerData(section, Qt::Horizontal).toString());
        } else if (qobject_cast<const QLineEdit*>(widget)) {
            require(QFontMetrics(widget->font()).height() <= given.height(), widget->objectName());
        }
        const bool scrolled = qobject_cast<const QAbstractScrollArea*>(widget->parentWidget()) ||
                              widget->objectName() == "qt_scrollarea_viewport";
        const auto& all = columns.isAncestorOf(widget) ? columns : window; // they are scrolled, too, in a low window
        require(scrolled || all.rect().contains(QRect(widget->mapTo(&all, QPoint()), given)),
                "outside: " + widget->objectName());
    }
    return cut;
}

/// At the usual size and, in a run of its own, at twice that.
TEST_P(Readable, NoTextIsCut) {
    EXPECT_EQ(qApp->devicePixelRatio(), std::max(1.0F, qEnvironmentVariable("QT_SCALE_FACTOR").toFloat()));
    const auto look = [](QWidget& window) { EXPECT_THAT(Cut(window), IsEmpty()); };
    LookAtAll(look);
    Show(station_.editor, {720, 800}, look);
}

TEST_P(Readable, NoTextIsCutInAWindowAsNarrowAsItBecomes) {
    station_.editor.txtPtPatientID.Text("16410558354175692384444"); // wider than its column
    for (const int height : {600, 1000}) {                          // with a scroll bar and without
        Show(station_.editor, {1, height}, [](QWidget& window) {
            EXPECT_LE(window.width(), 720);
            EXPECT_THAT(Cut(window), IsEmpty());
        });
    }
}

INSTANTIATE_TEST_SUITE_P(On, Readable, testing::Values(Scheme::Light, Scheme::Dark), [](const auto& scheme) {
    return scheme.param == Scheme::Light ? "ALightDesktop" : "ADarkDesktop";
});

} // namespace
} // namespace tavrel::test
