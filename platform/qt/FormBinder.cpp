#include "platform/qt/FormBinder.h"

#include "platform/qt/FindBar.h"
#include "platform/qt/LineEdits.h"
#include "platform/qt/ListBinding.h"
#include "platform/qt/QtText.h"
#include "platform/qt/Shortcuts.h"
#include "platform/qt/TextBoxBinding.h"
#include "platform/qt/WindowRole.h"
#include "platform/qt/WrappingLabel.h"

#include <QAbstractListModel>
#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>
#include <QStyle>
#include <QTextDocument>
#include <QToolTip>
#include <QTreeView>

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

/// What the label in front of a widget says, without its mnemonic.
QString CaptionOf(const QWidget& widget) {
    const auto labels = widget.window()->findChildren<QLabel*>();
    const auto caption = std::ranges::find(labels, &widget, &QLabel::buddy);
    return caption == labels.end() ? QString() : WithoutMnemonic((*caption)->text());
}

class LabelBinding : public Binding {
public:
    LabelBinding(Label& label, QLabel& widget)
        : Binding(label, widget), label_(label), widget_(widget), designed_(widget.text()) {
        widget.setTextFormat(Qt::PlainText); // A patient's name is never markup.
        if (const QString caption = CaptionOf(widget); !caption.isEmpty())
            spokenBefore_ = caption + ": ";
        widget.installEventFilter(this);
    }

protected:
    void ShowState(bool) override {
        widget_.setEnabled(label_.Enabled()); // Within a frame that is out of reach it is still read.
        const QString text = ToQt(label_.Drawn());
        if (widget_.wordWrap())
            SayWrapped(widget_, text);
        else
            widget_.setText(text == WithoutMnemonic(designed_) ? designed_ : text);
        if (widget_.property("note").toBool()) // which says nothing takes no place
            widget_.setVisible(label_.Visible() && !text.isEmpty());
        if (!spokenBefore_.isEmpty())
            widget_.setAccessibleName(spokenBefore_ + text);
        if (const auto name = widget_.property("describes").toString(); !name.isEmpty())
            if (auto* described = widget_.window()->findChild<QWidget*>(name))
                described->setAccessibleDescription(label_.Visible() ? text : QString());
        constexpr std::array tones{"neutral", "attention", "settled", "failure"};
        const QVariant tone = tones.at(static_cast<std::size_t>(label_.Emphasis()));
        if (widget_.property("tone") == tone)
            return;
        widget_.setProperty("tone", tone);
        widget_.style()->unpolish(&widget_);
        widget_.style()->polish(&widget_);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::ToolTip)
            return Binding::eventFilter(watched, event);
        const QString text = widget_.accessibleName().isEmpty() ? widget_.text() : widget_.accessibleName();
        // A long text is cut off where no blank lets it wrap; and it is never markup, here either. A tip that the
        // widget kept would be read out as its description, markup and all.
        QToolTip::showText(static_cast<const QHelpEvent&>(*event).globalPos(), Qt::convertFromPlainText(text),
                           &widget_);
        return true;
    }

private:
    Label& label_;
    QLabel& widget_;
    QString designed_;     ///< the text of the layout, which may have a mnemonic
    QString spokenBefore_; ///< what a screen reader says first
};

class ButtonBinding : public Binding {
public:
    ButtonBinding(Button& button, QPushButton& widget) : Binding(button, widget) {
        widget.setAutoDefault(true); // Enter presses the button that has the focus.
        connect(&widget, &QPushButton::clicked, this, [this, &button] { Person([&button] { button.Press(); }); });
    }
};

class OptionBinding : public Binding {
public:
    OptionBinding(OptionButton& option, QRadioButton& widget)
        : Binding(option, widget), option_(option), widget_(widget) {
        // An assistive technology toggles it without a click, and a click on the one that is set toggles nothing.
        connect(&widget, &QRadioButton::pressed, this, [this] { toggled_ = false; });
        connect(&widget, &QRadioButton::toggled, this, [this](bool on) {
            if (on)
                toggled_ = Choose();
            else // by its neighbour, of which the form may think otherwise
                QMetaObject::invokeMethod(
                    this, [this] { Show(Change::State); }, Qt::QueuedConnection);
        });
        connect(&widget, &QRadioButton::clicked, this, [this] {
            if (!std::exchange(toggled_, false))
                Choose();
        });
    }

protected:
    void ShowState(bool inReach) override {
        Binding::ShowState(inReach);
        widget_.setAutoExclusive(false); // or the one that is set could not be unset
        widget_.setChecked(option_.Value());
        widget_.setAutoExclusive(true);
    }

private:
    bool Choose() {
        Person([this] { option_.Press(); });
        Show(Change::State);
        return true;
    }

    OptionButton& option_;
    QRadioButton& widget_;
    bool toggled_ = false; ///< since the button went down
};

/// The list of a combo box, read from where it lies: a long day's has hundreds of thousands of lines.
class ComboBoxLines : public QAbstractListModel {
public:
    ComboBoxLines(const ComboBox& box, QObject* parent) : QAbstractListModel(parent), box_(box) {}

    /// To be called when lines were appended, or all of them taken away.
    void Follow() {
        const int now = box_.ListCount();
        if (now < shown_) {
            beginRemoveRows({}, 0, shown_ - 1);
            shown_ = 0;
            endRemoveRows();
        }
        if (now > shown_) {
            beginInsertRows({}, shown_, now - 1);
            shown_ = now;
            endInsertRows();
        }
    }
    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : shown_; }
    QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
            return {};
        return ToQt(box_.Item(index.row()));
    }

private:
    const ComboBox& box_;
    int shown_ = 0;
};

class ComboBoxBinding : public Binding {
public:
    ComboBoxBinding(ComboBox& box, QComboBox& widget)
        : Binding(box, widget), box_(box), widget_(widget), lines_(new ComboBoxLines(box, &widget)) {
        widget.setModel(lines_);
        widget.setInsertPolicy(QComboBox::NoInsert);
        widget.setCompleter(nullptr); // What is typed freely stays as it was typed.
        widget.installEventFilter(this);
        widget.lineEdit()->installEventFilter(this);
        widget.lineEdit()->setAccessibleName(widget.accessibleName()); // it is what has the focus
        connect(&widget, &QComboBox::editTextChanged, this,
                [this](const QString& text) { Person([&] { box_.Typed(FromQt(text)); }); });
        // Of what was picked, the beginning tells more than the end where there is no room for both.
        connect(&widget, &QComboBox::activated, widget.lineEdit(), [&line = *widget.lineEdit()] { line.home(false); });
    }

protected:
    void ShowState(bool inReach) override {
        Binding::ShowState(inReach);
        if (FromQt(widget_.currentText()) != box_.Text())
            ShowText();
        ShowMarks(); // their colour is the palette's
    }
    void ShowText() override { Restart(*widget_.lineEdit(), ToQt(box_.Text())); }
    void ShowRevision() override { Revise(*widget_.lineEdit(), ToQt(box_.Text())); }
    void ShowMarks() override { Underline(*widget_.lineEdit(), box_); }
    void ShowItems() override {
        const bool first = widget_.count() == 0 || box_.ListCount() == 0;
        lines_->Follow();
        if (!first)
            return; // choosing none would empty the text, and forget what was typed
        widget_.setCurrentIndex(-1);
        ShowText();
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress && AsksForRedo(static_cast<const QKeyEvent&>(*event))) {
            Redo(*widget_.lineEdit());
            return true;
        }
        // Scrolling past must not change what a report says.
        return event->type() == QEvent::Wheel || Binding::eventFilter(watched, event);
    }

private:
    ComboBox& box_;
    QComboBox& widget_;
    ComboBoxLines* lines_;
};

class FrameBinding : public Binding {
public:
    FrameBinding(Frame& frame, QGroupBox& widget, const FormBinder& binder)
        : Binding(frame, widget), widget_(widget), binder_(binder) {}

protected:
    void ShowState(bool inReach) override {
        if (widget_.property(OutOfReachProperty).toBool() == !inReach)
            return;
        widget_.setProperty(OutOfReachProperty, !inReach);
        binder_.ShowWithin(widget_);
    }

private:
    QGroupBox& widget_;
    const FormBinder& binder_;
};

/// A kind of control and the kind of widget that mirrors it.
struct Kind {
    bool (*fits)(const Control& control, const QWidget& widget);
    Binding* (*bind)(Control& control, QWidget& widget, const FormBinder& binder);
};

template <typename Bound, typename Model, typename Widget> constexpr Kind KindOf() {
    return {[](const Control& control, const QWidget& widget) {
                return dynamic_cast<const Model*>(&control) && qobject_cast<const Widget*>(&widget);
            },
            [](Control& control, QWidget& widget, const FormBinder& binder) -> Binding* {
                auto& model = dynamic_cast<Model&>(control);
                auto& mirror = dynamic_cast<Widget&>(widget); // It owns its binding.
                if constexpr (std::is_constructible_v<Bound, Model&, Widget&>)
                    return new Bound(model, mirror);
                else
                    return new Bound(model, mirror, binder);
            }};
}

constexpr std::array Kinds{
    KindOf<LabelBinding, Label, QLabel>(),
    KindOf<LineBinding, TextBox, QLineEdit>(),
    KindOf<ParagraphsBinding, TextBox, QPlainTextEdit>(),
    KindOf<ComboBoxBinding, ComboBox, QComboBox>(),
    KindOf<ListBinding, ListBox, QListView>(),
    KindOf<ListBinding, ListView, QTreeView>(),
    KindOf<OptionBinding, OptionButton, QRadioButton>(),
    KindOf<ButtonBinding, Button, QPushButton>(),
    KindOf<FrameBinding, Frame, QGroupBox>(),
};

/// Neither the widget nor the kind when no widget of the control's name fits it.
std::pair<QWidget*, const Kind*> Partner(const Control& control, const QWidget& window) {
    auto* widget = window.findChild<QWidget*>(QString::fromStdString(control.Name()));
    if (!widget)
        return {};
    const auto* kind = std::ranges::find_if(Kinds, [&](const Kind& each) { return each.fits(control, *widget); });
    return kind == Kinds.end() ? std::pair<QWidget*, const Kind*>() : std::pair(widget, kind);
}

/// A splitter hands its columns to an assistive technology from the last to the first, unless they are raised anew.
void InReadingOrder(const QWidget& window) {
    for (const auto* splitter : window.findChildren<QSplitter*>())
        for (int column = 0; column < splitter->count(); ++column)
            splitter->widget(column)->raise();
}

bool Decorates(const QString& name) {
    return name.isEmpty() || name.startsWith("caption") || name.startsWith("pane") || name.startsWith("qt_");
}

} // namespace

FormBinder::FormBinder(Form& form, QWidget& window) {
    for (auto* control : form.Controls())
        if (const auto [widget, kind] = Partner(*control, window); widget)
            bindings_.emplace_back(widget, kind->bind(*control, *widget, *this));
    for (const auto& [widget, binding] : bindings_) {
        binding->Show(Change::Items);
        binding->Show(Change::State);
    }
    AddShortcuts(window);
    TellWindowRoles();
    InReadingOrder(window);
    for (auto* text : window.findChildren<QPlainTextEdit*>())
        FindBar::Offer(*text);
}

FormBinder::~FormBinder() {
    for (const auto& [widget, binding] : bindings_)
        binding->Release();
}

void FormBinder::ShowWithin(const QWidget& frame) const {
    for (const auto& [widget, binding] : bindings_)
        if (frame.isAncestorOf(widget))
            binding->Show(Change::State);
}

std::vector<std::string> MissingNames(const Form& form, const QWidget& window) {
    std::vector<std::string> missing;
    for (const auto* control : form.Controls())
        if (!Partner(*control, window).first)
            missing.push_back("no fitting widget: " + control->Name());
    for (const auto* widget : window.findChildren<QWidget*>()) {
        const std::string name = widget->objectName().toStdString();
        if (!Decorates(widget->objectName()) &&
            std::ranges::none_of(form.Controls(), [&](const Control* control) { return control->Name() == name; }))
            missing.push_back("no control: " + name);
    }
    return missing;
}

} // namespace tavrel
