#include "platform/qt/FormBinder.h"

#include "platform/qt/LineEdits.h"
#include "platform/qt/ListBinding.h"
#include "platform/qt/QtText.h"
#include "platform/qt/TextBoxBinding.h"
#include "platform/qt/WrappingLabel.h"

#include <QAbstractListModel>
#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTextDocument>
#include <QTreeView>

#include <algorithm>

namespace tavrel {
namespace {

class LabelBinding : public Binding {
public:
    LabelBinding(Label& label, QLabel& widget) : Binding(label, widget), label_(label), widget_(widget) {
        widget.setTextFormat(Qt::PlainText); // A patient's name is never markup.
    }

protected:
    void ShowState(bool) override {
        widget_.setEnabled(label_.Enabled()); // Within a frame that is out of reach it is still read.
        if (widget_.wordWrap())
            SayWrapped(widget_, ToQt(label_.Text()));
        else
            widget_.setText(ToQt(label_.Text()));
        // A long text is cut off where no blank lets it wrap; and it is never markup, here either.
        widget_.setToolTip(Qt::convertFromPlainText(ToQt(label_.Text())));
        if (const auto name = widget_.property("describes").toString(); !name.isEmpty())
            if (auto* described = widget_.window()->findChild<QWidget*>(name))
                described->setAccessibleDescription(label_.Visible() ? ToQt(label_.Text()) : QString());
        constexpr std::array tones{"neutral", "attention", "settled", "failure"};
        const QVariant tone = tones.at(static_cast<std::size_t>(label_.Emphasis()));
        if (widget_.property("tone") == tone)
            return;
        widget_.setProperty("tone", tone);
        widget_.style()->unpolish(&widget_);
        widget_.style()->polish(&widget_);
    }

private:
    Label& label_;
    QLabel& widget_;
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
        widget.setAutoExclusive(false); // The group keeps order, and can be without a choice.
        // An assistive technology toggles it without a click.
        connect(&widget, &QRadioButton::toggled, this, [this] {
            Person([this] { option_.Press(); });
            Show(Change::State);
        });
    }

protected:
    void ShowState(bool inReach) override {
        Binding::ShowState(inReach);
        widget_.setChecked(option_.Value());
    }

private:
    OptionButton& option_;
    QRadioButton& widget_;
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
        connect(&widget, &QComboBox::editTextChanged, this,
                [this](const QString& text) { Person([&] { box_.Typed(FromQt(text)); }); });
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
        if (widget_.property(OutOfReachProperty) == QVariant(!inReach))
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
