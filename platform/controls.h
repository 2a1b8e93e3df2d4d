#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A form is a plain C++ object made of control models. The model is the one truth: the program
/// changes it and the widget that mirrors it is told by one notification; what a person does comes in
/// through the functions marked "person". All of it happens on the user-interface thread.

namespace tavrel {

class Control;
class WordCheck;

/// A window of the program, known by its name; its controls by theirs. Holds no layout.
class Form {
public:
    explicit Form(std::string_view name, std::string_view caption = {}) : name_(name), caption_(caption) {}
    virtual ~Form() = default;
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    const std::string& Name() const { return name_; }
    const std::string& Caption() const { return caption_; }
    void Caption(std::string_view caption);
    std::span<Control* const> Controls() const { return controls_; }

    /// Person: the window was closed by its frame. The form decides what that means; a form that is
    /// to go unloads itself.
    virtual void FrameClosed() = 0;

    /// Called when the caption has changed.
    void Watch(std::function<void()> changed) { changed_ = std::move(changed); }

private:
    friend class Control;
    std::string name_;
    std::string caption_;
    std::vector<Control*> controls_;
    std::function<void()> changed_;
};

/// What of a control has changed, so that its widget looks at that alone.
enum class Change {
    State,     ///< enabled, visible, locked, colour, text, value
    Items,     ///< the items or rows of a list
    Selection, ///< the selected item or row
    Text,      ///< the text is another one, and what was typed before is forgotten
    Revision,  ///< the text was edited by the program; a person can take that back
    Marks,     ///< what of the text is underlined
    Focus,     ///< nothing; the widget is where a person types next
    Words,     ///< what of the text are words that nobody knows
    Place,     ///< another stretch of the text is selected
    Redraw,    ///< nothing; the widget is to draw itself at once
};

class Control {
public:
    /// `form` must outlive the control; it lists the control from now on.
    Control(Form& form, std::string_view name);
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const std::string& Name() const { return name_; }
    bool Enabled() const { return enabled_; }
    void Enabled(bool enabled);
    bool Visible() const { return visible_; }
    void Visible(bool visible);
    /// Draws the control at once.
    void Refresh() { Notify(Change::Redraw); }

    /// What a person types next goes here, where the control can take it.
    void Focus() { Notify(Change::Focus); }

    /// The widget's one notification; an empty function ends it.
    void Watch(std::function<void(Change)> changed) { changed_ = std::move(changed); }

protected:
    void Notify(Change change);
    /// Stores `value` and tells the widget when it differs.
    template <typename T, typename U> void Set(T& field, const U& value) {
        if (field == value)
            return;
        field = value;
        Notify(Change::State);
    }

private:
    std::string name_;
    bool enabled_ = true;
    bool visible_ = true;
    std::function<void(Change)> changed_;
};

/// Groups controls; while it is disabled all of them are out of reach.
class Frame : public Control {
public:
    using Control::Control;
};

class Label : public Control {
public:
    /// How a label is set off from the rest; the widget picks the colours.
    enum class Tone { Neutral, Attention, Settled, Failure };

    /// What the eye sees of a text; the text itself stays as it is.
    using Drawing = std::string (*)(std::string_view text);

    Label(Form& form, std::string_view name, std::string_view text = {}, Drawing drawing = nullptr)
        : Control(form, name), text_(text), drawing_(drawing) {}
    const std::string& Text() const { return text_; }
    void Text(std::string_view text) { Set(text_, text); }
    std::string Drawn() const { return drawing_ ? drawing_(text_) : text_; }
    Label::Tone Emphasis() const { return tone_; }
    void Emphasis(Label::Tone tone) { Set(tone_, tone); }

private:
    std::string text_;
    Drawing drawing_;
    Label::Tone tone_ = Tone::Neutral;
};

/// A stretch of a text, in bytes of its UTF-8.
struct TextMark {
    enum class Kind : std::uint8_t {
        Wrong,   ///< cannot stay
        Added,   ///< is new
        Removed, ///< is no more
    };
    std::size_t offset;
    std::size_t length;
    Kind kind = Kind::Wrong;
    bool operator==(const TextMark&) const = default;
};

/// A control whose text a person edits, and can undo and redo the edits of.
class TextField : public Control {
public:
    using Control::Control;
    const std::string& Text() const { return text_; }
    /// Shows this text as the start of something new: what was typed before is forgotten, also when
    /// the text is the same, and no undo brings it back.
    void Text(std::string_view text);
    /// Changes the text as an edit like those that a person has made before, which can be undone with
    /// them. Not for what belongs to somebody else: an undo would bring the former text back.
    void Revise(std::string_view text);
    /// Revises on the person's behalf.
    void TypeIn(std::string_view text) {
        Revise(text);
        if (Edited)
            Edited();
    }

    /// What is underlined as not right, or set off, in the order of the text. It is for the form to say so anew
    /// when the text has changed.
    const std::vector<TextMark>& Marks() const { return marks_; }
    void Marks(std::vector<TextMark> marks);

    /// The text has become another one, whoever did it.
    std::function<void()> Changed;
    /// Raised after a person has changed the text.
    std::function<void()> Edited;

    /// Person: the control now reads `text`.
    void Typed(std::string_view text);

private:
    bool Take(std::string_view text);

    std::string text_;
    std::vector<TextMark> marks_;
};

/// `Typed` is given what the widget has passed through `Filter`.
class TextBox : public TextField {
public:
    using TextField::TextField;
    /// A locked box can be read, scrolled and copied but not typed into.
    bool Locked() const { return locked_; }
    void Locked(bool locked) { Set(locked_, locked); }
    /// Drawn in the colour of a button's face, as a thing that is not for typing.
    bool ButtonFace() const { return buttonFace_; }
    void ButtonFace(bool buttonFace) { Set(buttonFace_, buttonFace); }

    /// What is selected, or where the caret stands. Without a widget what was selected last.
    TextMark Selection() const { return selectionShown_ ? selectionShown_() : selection_; }
    /// Selects a stretch, brings it into sight and the person into the box.
    void Select(TextMark stretch) {
        selection_ = stretch;
        Notify(Change::Place);
    }
    /// What the program selected last.
    const TextMark& SelectedLast() const { return selection_; }
    /// The widget knows it better from now on; an empty function ends that.
    void SelectionFrom(std::function<TextMark()> shown) { selectionShown_ = std::move(shown); }

    /// Who judges the words of the text while it is typed; none: nobody does. To be set anew when it has come to know
    /// more.
    void Words(WordCheck* words) {
        words_ = words;
        Notify(Change::Words);
    }
    WordCheck* Words() const { return words_; }

    /// What typed or pasted text becomes before it stands in the box.
    std::function<std::string(std::string_view)> Filter;
    /// What a typed character code becomes; pasted text does not pass here.
    std::function<std::int16_t(std::int16_t)> KeyPress;
    /// A key was pressed here and released, whichever it was.
    std::function<void()> KeyUp;
    /// Person: pressed Enter here, where the box has one line.
    std::function<void()> Enter;
    /// Person: went down from here, which raises `KeyUp` before.
    std::function<void()> Down;
    /// Person: a key has put a character into the text, after `Edited`; `caret` is the place behind it. Pasted text
    /// does not pass here.
    std::function<void(std::size_t caret)> CharacterTyped;
    /// Person: wants to go to the next place to fill in (F3), or back to the one before (Shift+F3).
    std::function<void(bool back)> Step;

private:
    bool locked_ = false;
    bool buttonFace_ = false;
    TextMark selection_{};
    WordCheck* words_ = nullptr;
    std::function<TextMark()> selectionShown_;
};

class Button : public Control {
public:
    using Control::Control;
    std::function<void()> Click;
    /// Person: pressed. A disabled button does nothing.
    void Press() {
        if (Enabled() && Click)
            Click();
    }
};

class OptionGroup;

/// One of a group of options of which at most one is set.
class OptionButton : public Control {
public:
    bool Value() const { return value_; }
    /// Setting it unsets its neighbours and raises the group's click, also when it was set already.
    void Value(bool value);
    /// Person: chosen. A disabled option does nothing.
    void Press() {
        if (Enabled())
            Value(true);
    }
    OptionButton(Form& form, std::string_view name, OptionGroup& group, int index)
        : Control(form, name), group_(group), index_(index) {}

private:
    friend class OptionGroup;
    OptionGroup& group_;
    int index_;
    bool value_ = false;
};

/// The options `name(0)`, `name(1)`, ...; each is a control called `name_0`, `name_1`, ...
class OptionGroup {
public:
    OptionGroup(Form& form, std::string_view name, int count);
    OptionButton& operator()(int index) { return options_.at(static_cast<std::size_t>(index)); }
    const OptionButton& operator()(int index) const { return options_.at(static_cast<std::size_t>(index)); }
    /// Unsets every option; raises nothing.
    void Unset();
    std::function<void(int index)> Click;

private:
    friend class OptionButton;
    std::deque<OptionButton> options_;
};

/// An editable box with a list to pick from.
class ComboBox : public TextField {
public:
    using TextField::TextField;
    int ListCount() const { return lists_.empty() ? 0 : lists_.back().end; }
    const std::string& Item(int index) const;
    /// Appends these items; the widget is told once. The same ones as before cost next to nothing: the list of
    /// headings grows by the whole table with each report that is shown.
    void AddItems(std::vector<std::string> items);
    void Clear();

private:
    struct Appended {
        std::shared_ptr<const std::vector<std::string>> items;
        int end; ///< the position behind them
    };
    std::vector<Appended> lists_;
};

/// A list of lines of which one may be selected. Positions are 0-based, -1 is none.
class ListBox : public Control {
public:
    using Control::Control;
    const std::vector<std::string>& Items() const { return items_; }
    int ListCount() const { return static_cast<int>(items_.size()); }
    void AddItem(std::string item);
    void Clear();

    int ListIndex() const { return listIndex_; }
    /// Selects a line and raises `Click`, also when it was selected already and whether the program
    /// or a person did it.
    void ListIndex(int index);
    std::function<void()> Click;

private:
    std::vector<std::string> items_;
    int listIndex_ = -1;
};

/// A row of a table. Its columns stand in the row itself, so that a row of short texts is not one
/// allocation more: lists of 100,000 rows are filled while a person types.
struct ListItem {
    std::string text;                      ///< the first column
    std::string tag{};                     ///< not shown
    std::array<std::string, 3> subItems{}; ///< the columns after the first
};

/// A table of rows of which one may be selected. Positions are 0-based, -1 is none. The widget reads
/// the rows from here and keeps no copy.
class ListView : public Control {
public:
    /// In the column `persons` stand persons' names, which are drawn as people write them.
    ListView(Form& form, std::string_view name, std::vector<std::string> columns, int persons = -1)
        : Control(form, name), columns_(std::move(columns)), persons_(persons) {}

    const std::vector<std::string>& Columns() const { return columns_; }
    int Persons() const { return persons_; }
    const std::vector<ListItem>& Items() const { return items_; }
    int Count() const { return static_cast<int>(items_.size()); }
    const ListItem& Item(int index) const { return items_.at(static_cast<std::size_t>(index)); }

    void Add(ListItem item);
    void Replace(int index, ListItem item);
    void Remove(int index);
    void Clear();
    /// Changes the rows in `fill` and tells the widget once, also when `fill` fails half way. The
    /// selection is gone afterwards.
    void Fill(const std::function<void(std::vector<ListItem>&)>& fill);

    /// The rows have become others, whoever did it.
    std::function<void()> Changed;

    int SelectedIndex() const { return selected_; }
    /// Selects a row and raises `ItemClick`, whether the program or a person did it.
    void Select(int index);
    std::function<void()> ItemClick;
    std::function<void()> DoubleClick;

    /// Person: double-clicked or pressed Enter on the selected row.
    void Activate() {
        if (Enabled() && DoubleClick)
            DoubleClick();
    }

private:
    void TellRows();

    std::vector<std::string> columns_;
    int persons_;
    std::vector<ListItem> items_;
    int selected_ = -1;
};

} // namespace tavrel
