#include "platform/qt/HouseStyle.h"
#include "platform/qt/Colours.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>
#include <QStandardItemModel>
#include <QStyleOption>
#include <QTest>
#include <QTreeView>
#include <QVBoxLayout>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace tavrel::test {
namespace {

QImage Picture(QWidget& widget, qreal scale = 1) {
    QImage picture(widget.size() * scale, QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::magenta);
    widget.render(&picture);
    return picture;
}

QColor At(QWidget& widget, const QPoint& place) {
    return Picture(widget).pixelColor(place);
}

/// The lightness of its darkest and its lightest point.
std::pair<int, int> Range(const QImage& picture) {
    int darkest = 255, lightest = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const int lightness = picture.pixelColor(x, y).lightness();
            darkest = std::min(darkest, lightness);
            lightest = std::max(lightest, lightness);
        }
    return {darkest, lightest};
}

QColor Light(const Tint& tint) {
    return QColor::fromRgb(tint.light);
}

class TheHouseStyle : public testing::Test {
protected:
    ~TheHouseStyle() override { Dress(Scheme::Light); }

    template <typename Part> Part& With(const QString& text) { return *new Part(text, &window_); }
    void Speak(QLabel& label, const char* tone) {
        label.setProperty("tone", tone);
        label.style()->unpolish(&label);
        label.style()->polish(&label);
    }

    QWidget window_;
};

TEST_F(TheHouseStyle, GivesABandTheColourOfWhatItSaysAndTakesItBack) {
    auto& band = With<QLabel>("Draft");
    band.setProperty("band", true);
    band.adjustSize();
    const QPoint ground{4, 12};

    Speak(band, "failure");
    EXPECT_EQ(At(band, ground), Light(colours::Failure));
    EXPECT_EQ(band.palette().color(band.foregroundRole()), Light(colours::OnFailure));
    EXPECT_TRUE(band.font().bold());
    Speak(band, "neutral");
    EXPECT_EQ(At(band, ground), Light(colours::Card));
    EXPECT_EQ(band.palette().color(band.foregroundRole()), Light(colours::Text));
}

TEST_F(TheHouseStyle, GivesARemarkAColourOnlyWhereItWarns) {
    auto& note = With<QLabel>("About 920 of 1,024");
    note.setProperty("note", true);
    note.adjustSize();

    Speak(note, "neutral");
    EXPECT_EQ(At(note, {4, 8}), Light(colours::Window));
    EXPECT_EQ(note.palette().color(note.foregroundRole()), Light(colours::Faint));
    Speak(note, "attention");
    EXPECT_EQ(At(note, {4, 8}), Light(colours::Attention));
    EXPECT_EQ(note.palette().color(note.foregroundRole()), Light(colours::OnAttention));
}

TEST_F(TheHouseStyle, DrawsACaptionFainterThanItsValue) {
    auto& caption = With<QLabel>("Sex");
    auto& describing = With<QLabel>("Approved by");
    auto& value = With<QLabel>("F");
    caption.setObjectName("captionSex");
    describing.setProperty("describes", "lblApprovedBy");
    for (QLabel* label : {&caption, &describing, &value})
        label->ensurePolished();

    EXPECT_EQ(caption.palette().color(caption.foregroundRole()), Light(colours::Faint));
    EXPECT_EQ(describing.palette().color(describing.foregroundRole()), Light(colours::Faint));
    EXPECT_EQ(value.palette().color(value.foregroundRole()), Light(colours::Text));
}

TEST_F(TheHouseStyle, LeavesAFramesTitleItsPlaceUnlessSomethingElseIsThere) {
    const auto above = [this](const char* property) {
        auto& frame = With<QGroupBox>("Reading");
        if (property)
            frame.setProperty(property, true);
        frame.ensurePolished();
        return frame.contentsMargins().top();
    };

    EXPECT_EQ(above(nullptr), 25);
    EXPECT_EQ(above("headed"), 1);
    EXPECT_EQ(above("untitled"), 1);
}

TEST_F(TheHouseStyle, DrawsATitleInItsFrameButNotWhereThereIsNone) {
    const auto drawsWords = [this](bool untitled) {
        auto& frame = With<QGroupBox>("Reading");
        frame.setProperty("untitled", untitled);
        frame.resize(120, 60);
        for (int x = 10; x < 70; ++x)
            if (At(frame, {x, 16}) != Light(colours::Card))
                return true;
        return false;
    };

    EXPECT_TRUE(drawsWords(false));
    EXPECT_FALSE(drawsWords(true));
}

TEST_F(TheHouseStyle, KeepsWhatACardSaysOffItsEdges) {
    auto* card = new QFrame(&window_);
    card->setProperty("card", true);
    auto* words = new QLabel("Storing the version ...", card);
    (new QVBoxLayout(card))->addWidget(words);
    (new QVBoxLayout(&window_))->addWidget(card, 0, Qt::AlignCenter);
    window_.show();

    EXPECT_GE(words->x(), 25);
    EXPECT_GE(words->y(), 17);
}

TEST_F(TheHouseStyle, TellsTheButtonToPressAndTheOneThatCannotBe) {
    auto& save = With<QPushButton>("Save");
    save.adjustSize();
    const QPoint ground{5, save.height() / 2};
    EXPECT_EQ(At(save, ground), Light(colours::Button));

    save.setProperty("primary", true);
    EXPECT_EQ(At(save, ground), Light(colours::Accent));
    save.setEnabled(false);
    EXPECT_EQ(At(save, ground), Light(colours::Window));
}

TEST_F(TheHouseStyle, ShowsWhichControlHasTheFocus) {
    auto& button = With<QPushButton>("Print");
    auto& option = With<QRadioButton>("Manage report codes");
    auto& text = With<QLabel>("ROSSINI, ANNA MARIA");
    int below = 100; // the pointer, whose place it is that the display begins with
    for (QWidget* widget : std::initializer_list<QWidget*>{&button, &option, &text})
        widget->move(100, below += 40);
    text.setFocusPolicy(Qt::StrongFocus);
    window_.setFocusPolicy(Qt::StrongFocus);
    window_.show();
    window_.setFocus();
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    for (QWidget* widget : std::initializer_list<QWidget*>{&button, &option, &text}) {
        const QImage before = Picture(*widget);
        QTest::keyClick(window_.windowHandle(), Qt::Key_Tab);
        ASSERT_TRUE(widget->hasFocus()) << widget->metaObject()->className();
        EXPECT_NE(Picture(*widget), before) << widget->metaObject()->className();
    }
}

TEST_F(TheHouseStyle, TellsTheStatesOfAButtonApart) {
    auto& plain = With<QPushButton>("Print");
    auto& primary = With<QPushButton>("Save");
    primary.setProperty("primary", true);
    const auto distinct = [](QPushButton& button, const std::vector<QStyle::State>& states) {
        QList<QImage> pictures;
        for (const auto state : states) {
            QStyleOptionButton option;
            option.rect = {0, 0, 80, 30};
            option.state = state;
            QImage picture(80, 30, QImage::Format_RGB32);
            picture.fill(Qt::white);
            QPainter painter(&picture);
            button.style()->drawControl(QStyle::CE_PushButton, &option, &painter, &button);
            painter.end();
            if (!pictures.contains(picture))
                pictures << picture;
        }
        return pictures.size();
    };

    constexpr auto on = QStyle::State_Enabled;
    EXPECT_EQ(distinct(plain, {QStyle::State_None, on, on | QStyle::State_MouseOver, on | QStyle::State_Sunken}), 4);
    EXPECT_EQ(distinct(primary, {QStyle::State_None, on, on | QStyle::State_HasFocus}), 3);
}

TEST_F(TheHouseStyle, WritesOnTheButtonToPressInAColourOfItsOwn) {
    auto& save = With<QPushButton>("Save");
    save.setProperty("primary", true);
    save.adjustSize();
    const auto inside = save.rect() - QMargins(8, 4, 8, 4);

    EXPECT_GT(Range(Picture(save).copy(inside)).second, Light(colours::Accent).lightness());
}

TEST_F(TheHouseStyle, TellsTheStatesOfAnOptionApart) {
    auto& option = With<QRadioButton>("");
    option.resize(20, 20);
    const QPoint dot(7, 10);
    const QImage free = Picture(option);
    option.setEnabled(false);
    EXPECT_NE(Picture(option), free);
    option.setEnabled(true);
    option.setChecked(true);
    EXPECT_EQ(At(option, dot), Light(colours::OnAccent));
}

TEST_F(TheHouseStyle, UnderlinesTheKeyOfAFramesTitle) {
    auto& plain = With<QGroupBox>("Reading");
    auto& keyed = With<QGroupBox>("Rea&ding");
    for (QGroupBox* frame : {&plain, &keyed})
        frame->resize(120, 60);

    EXPECT_NE(Picture(keyed), Picture(plain));
}

TEST_F(TheHouseStyle, SetsAListsHeadingFainterAndOffItsLine) {
    QTreeView list(&window_);
    QStandardItemModel model(1, 1);
    model.setHorizontalHeaderLabels({"Description"});
    list.setModel(&model);
    auto& heading = *list.header();
    heading.adjustSize();

    EXPECT_GE(heading.height(), heading.fontMetrics().height() + 7);
    const auto words = heading.rect() - QMargins(0, 0, 0, 2);
    EXPECT_GE(Range(Picture(heading).copy(words)).first, Light(colours::Faint).lightness());
}

TEST_F(TheHouseStyle, DrawsNothingBetweenTheHalvesOfASplitWindow) {
    QSplitter halves(&window_);
    halves.addWidget(new QWidget);
    halves.addWidget(new QWidget);
    halves.resize(200, 100);
    window_.resize(200, 100);
    const auto [darkest, lightest] = Range(Picture(window_));

    EXPECT_EQ(darkest, lightest);
}

TEST_F(TheHouseStyle, PutsNoPicturesOnTheButtonsOfAMessage) {
    QDialogButtonBox buttons(QDialogButtonBox::Save | QDialogButtonBox::Cancel, &window_);

    EXPECT_TRUE(buttons.button(QDialogButtonBox::Save)->icon().isNull());
}

TEST_F(TheHouseStyle, DimsTheWindowThatWaits) {
    auto* words = new QLabel(&window_);
    words->setPalette(QPalette(Qt::black));
    words->setAutoFillBackground(true);
    auto* veil = new QFrame(&window_);
    veil->setProperty("veil", true);
    veil->ensurePolished();
    for (QWidget* widget : std::initializer_list<QWidget*>{words, veil})
        widget->resize(20, 20);

    EXPECT_GT(At(window_, {10, 10}).lightness(), 150);
    EXPECT_LT(At(window_, {10, 10}).lightness(), 200);
}

TEST_F(TheHouseStyle, LeavesTheEdgeOfABoxThatCanBeTypedInVisible) {
    auto& plain = *new QComboBox(&window_);
    auto& typed = *new QComboBox(&window_);
    typed.setEditable(true);
    typed.move(0, 60);
    window_.show();

    ASSERT_EQ(typed.height(), plain.height());
    const QRect words = typed.lineEdit()->geometry();
    EXPECT_GT(words.top(), 0);
    EXPECT_LT(words.bottom(), typed.rect().bottom());
}

TEST_F(TheHouseStyle, DrawsABoxThatCanBeTypedInAsALineWithAnArrow) {
    auto& line = With<QLineEdit>("");
    auto& box = *new QComboBox(&window_);
    box.setEditable(true);
    for (QWidget* each : {static_cast<QWidget*>(&line), static_cast<QWidget*>(&box)})
        each->resize(160, 30);
    const auto same = [&](const QRect& part) { return Picture(box).copy(part) == Picture(line).copy(part); };
    const QRect left{0, 0, 100, 30}, rightEdge{157, 0, 3, 30}, arrow{143, 8, 12, 14};

    EXPECT_TRUE(same(left));
    EXPECT_TRUE(same(rightEdge));
    EXPECT_FALSE(same(arrow));
    line.setEnabled(false);
    EXPECT_FALSE(same(left));
    box.setEnabled(false);
    EXPECT_TRUE(same(left));
}

TEST_F(TheHouseStyle, FramesACardAsOneCurveWouldAtEveryScale) {
    auto& card = With<QGroupBox>("");
    card.setProperty("untitled", true);
    card.resize(60, 88);
    for (const qreal scale : {1.0, 1.25, 2.0}) {
        QImage curve = Picture(card, scale);
        curve.fill(Light(colours::Window));
        QPainter painter(&curve);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Light(colours::Line));
        painter.setBrush(Light(colours::Card));
        painter.drawRoundedRect(QRectF(card.rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5.5, 5.5);
        painter.end();

        EXPECT_EQ(Picture(card, scale), curve) << scale;
    }
}

TEST_F(TheHouseStyle, ChangesTheWindowsThatStand) {
    auto& band = With<QLabel>("Saved");
    band.setProperty("band", true);
    band.setProperty("tone", "settled");
    window_.resize(600, 400);
    window_.show();

    Dress(Scheme::Dark);
    QCoreApplication::processEvents();

    EXPECT_EQ(At(band, {4, band.height() / 2}), QColor::fromRgb(colours::Settled.dark));
    EXPECT_EQ(band.palette().color(band.foregroundRole()), QColor::fromRgb(colours::OnSettled.dark));
    EXPECT_EQ(band.contentsMargins().left(), 13);
    EXPECT_EQ(At(window_, {400, 300}), QColor::fromRgb(colours::Window.dark));
}

} // namespace
} // namespace tavrel::test
