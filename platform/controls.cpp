#include "platform/controls.h"

#include "platform/error.h"

#include <algorithm>

namespace tavrel {
namespace {

void RequirePosition(const Control& list, int index, std::size_t count) {
    if (index < 0 || static_cast<std::size_t>(index) >= count)
        throw Error(Fault::NoSuchLine, list.Name(), list.Name() + " has no line " + std::to_string(index));
}

} // namespace

void Form::Caption(std::string_view caption) {
    caption_ = caption;
    if (changed_)
        changed_();
}

Control::Control(Form& form, std::string_view name) : name_(name) {
    form.controls_.push_back(this);
}

void Control::Enabled(bool enabled) {
    Set(enabled_, enabled);
}
void Control::Visible(bool visible) {
    Set(visible_, visible);
}

void Control::Notify(Change change) {
    if (changed_)
        changed_(change);
}

void TextField::Text(std::string_view text) {
    const bool another = Take(text);
    Notify(Change::Text);
    if (another && Changed)
        Changed();
}

void TextField::Revise(std::string_view text) {
    if (!Take(text))
        return;
    Notify(Change::Revision);
    if (Changed)
        Changed();
}

void TextField::Typed(std::string_view text) {
    if (!Take(text))
        return;
    if (Changed)
        Changed();
    if (Edited)
        Edited();
}

void TextField::Marks(std::vector<TextMark> marks) {
    if (marks_.empty() && marks.empty())
        return;
    marks_ = std::move(marks);
    Notify(Change::Marks); // the same marks too: they stand under another text
}

bool TextField::Take(std::string_view text) {
    if (text_ == text)
        return false;
    text_ = text;
    return true;
}

OptionGroup::OptionGroup(Form& form, std::string_view name, int count) {
    for (int i = 0; i < count; ++i)
        options_.emplace_back(form, std::string(name) + "_" + std::to_string(i), *this, i);
}

void OptionGroup::Unset() {
    for (auto& option : options_)
        option.Set(option.value_, false);
}

void OptionButton::Value(bool value) {
    if (!value) {
        Set(value_, false);
        return;
    }
    for (auto& option : group_.options_)
        option.Set(option.value_, &option == this);
    if (group_.Click)
        group_.Click(index_);
}

const std::string& ComboBox::Item(int index) const {
    RequirePosition(*this, index, static_cast<std::size_t>(ListCount()));
    const auto list = std::ranges::upper_bound(lists_, index, {}, &Appended::end);
    return list->items->at(list->items->size() - static_cast<std::size_t>(list->end - index));
}

void ComboBox::AddItems(std::vector<std::string> items) {
    const int end = ListCount() + static_cast<int>(items.size());
    if (!lists_.empty() && *lists_.back().items == items)
        lists_.push_back({lists_.back().items, end});
    else
        lists_.push_back({std::make_shared<const std::vector<std::string>>(std::move(items)), end});
    Notify(Change::Items);
}

void ComboBox::Clear() {
    lists_.clear();
    Notify(Change::Items);
}

void ListBox::AddItem(std::string item) {
    items_.push_back(std::move(item));
    Notify(Change::Items);
}

void ListBox::Clear() {
    items_.clear();
    listIndex_ = -1;
    Notify(Change::Items);
}

void ListBox::ListIndex(int index) {
    RequirePosition(*this, index, items_.size());
    listIndex_ = index;
    Notify(Change::Selection);
    if (Click)
        Click();
}

void ListView::Add(ListItem item) {
    items_.push_back(std::move(item));
    TellRows();
}

void ListView::Replace(int index, ListItem item) {
    RequirePosition(*this, index, items_.size());
    items_[static_cast<std::size_t>(index)] = std::move(item);
    TellRows();
}

void ListView::Remove(int index) {
    RequirePosition(*this, index, items_.size());
    items_.erase(items_.begin() + index);
    selected_ = -1;
    TellRows();
}

void ListView::Clear() {
    Fill([](auto& items) { items.clear(); });
}

void ListView::Fill(const std::function<void(std::vector<ListItem>&)>& fill) {
    selected_ = -1;
    try {
        fill(items_);
    } catch (...) {
        Notify(Change::Items);
        throw;
    }
    TellRows();
}

void ListView::TellRows() {
    Notify(Change::Items);
    if (Changed)
        Changed();
}

void ListView::Select(int index) {
    RequirePosition(*this, index, items_.size());
    selected_ = index;
    Notify(Change::Selection);
    if (ItemClick)
        ItemClick();
}

} // namespace tavrel
