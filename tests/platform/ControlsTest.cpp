#include "platform/controls.h"
#include "platform/error.h"
#include "tests/support/Failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Window : public Form {
public:
    Window() : Form("frmWindow", "Window") {}
    void FrameClosed() override {}
};

/// A window with what its widgets were told.
class Controls : public testing::Test {
protected:
    void WatchAll() {
        for (Control* const control : window.Controls())
            control->Watch([this](Change change) { told.push_back(change); });
    }
    static std::string NoLine(const std::function<void()>& call) {
        const Error error = ErrorOf(call);
        EXPECT_EQ(error.number, 380);
        return error.description;
    }

    Window window;
    std::vector<Change> told;
    int clicks = 0;
};

TEST_F(Controls, AreListedByTheirFormInTheOrderTheyWereMade) {
    const Label first(window, "first");
    const Button second(window, "second");

    EXPECT_THAT(window.Controls(), ElementsAre(&first, &second));
}

TEST_F(Controls, TellAChangeOfTheirStateOnce) {
    Label label(window, "label");
    WatchAll();

    label.Text("text");
    label.Text("text");
    label.Enabled(false);
    label.Visible(false);

    EXPECT_THAT(told, ElementsAre(Change::State, Change::State, Change::State));
}

TEST_F(Controls, AskToBeDrawnAtOnce) {
    Label label(window, "label");
    WatchAll();

    label.Refresh();

    EXPECT_THAT(told, ElementsAre(Change::Redraw));
}

TEST_F(Controls, ThatNobodyWatchesChangeAllTheSame) {
    Label label(window, "label");

    label.Text("text");

    EXPECT_EQ(label.Text(), "text");
}

TEST_F(Controls, OfAFormWhoseCaptionChangesAreToldNothing) {
    const Label label(window, "label");
    WatchAll();
    window.Watch([this] { ++clicks; });

    window.Caption("Renamed");

    EXPECT_EQ(window.Caption(), "Renamed");
    EXPECT_EQ(clicks, 1);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(Controls, OfAFormThatNobodyWatchesGetANewCaption) {
    window.Caption("Renamed");

    EXPECT_EQ(window.Caption(), "Renamed");
}

class Options : public Controls {
protected:
    Options() {
        options.Click = [this](int index) { clicked.push_back(index); };
    }
    std::vector<bool> Values() const { return {options(0).Value(), options(1).Value(), options(2).Value()}; }

    OptionGroup options{window, "optManage", 3};
    std::vector<int> clicked;
};

TEST_F(Options, AreControlsWithTheirIndexInTheirNames) {
    std::vector<std::string> names;
    for (const Control* const control : window.Controls())
        names.push_back(control->Name());

    EXPECT_THAT(names, ElementsAre("optManage_0", "optManage_1", "optManage_2"));
}

TEST_F(Options, AreSetOneAtATime) {
    options(0).Value(true);
    options(2).Value(true);

    EXPECT_THAT(Values(), ElementsAre(false, false, true));
}

TEST_F(Options, ThatAreSetRaiseTheGroupsClickEachTime) {
    options(1).Value(true);
    options(1).Value(true);

    EXPECT_THAT(clicked, ElementsAre(1, 1));
}

TEST_F(Options, ThatAreUnsetLeaveTheOthersAndRaiseNothing) {
    options(1).Value(true);
    clicked.clear();

    options(1).Value(false);
    options(0).Value(false);

    EXPECT_THAT(Values(), ElementsAre(false, false, false));
    EXPECT_THAT(clicked, IsEmpty());
}

TEST_F(Options, TellOnlyWhatHasChanged) {
    options(0).Value(true);
    WatchAll();

    options(1).Value(true);

    EXPECT_THAT(told, ElementsAre(Change::State, Change::State));
}

TEST_F(Options, AreAllUnsetWithoutAClick) {
    options(1).Value(true);
    clicked.clear();

    options.Unset();

    EXPECT_THAT(Values(), ElementsAre(false, false, false));
    EXPECT_THAT(clicked, IsEmpty());
}

TEST_F(Options, ThatAreDisabledCannotBePressed) {
    options(1).Enabled(false);

    options(1).Press();

    EXPECT_FALSE(options(1).Value());
}

class Combos : public Controls {
protected:
    std::vector<std::string> Items() const {
        std::vector<std::string> items(static_cast<std::size_t>(combo.ListCount()));
        std::ranges::generate(items, [this, i = 0]() mutable { return combo.Item(i++); });
        return items;
    }

    ComboBox combo{window, "combo"};
};

TEST_F(Combos, AppendTheirItemsAndTellOnce) {
    combo.AddItems({"one"});
    WatchAll();

    combo.AddItems({"two", "three"});

    EXPECT_THAT(Items(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Combos, HaveTheSameItemsAsOftenAsTheyWereAppended) {
    for (const std::string last : {"two", "two", "three", "two"})
        combo.AddItems({"one", last});
    combo.AddItems({});
    combo.AddItems({"four"});

    EXPECT_THAT(Items(), ElementsAre("one", "two", "one", "two", "one", "three", "one", "two", "four"));
}

TEST_F(Combos, KeepItemsThatAreAppendedAgainOnce) {
    combo.AddItems({"one", "two"});
    combo.AddItems({"one", "two"});

    EXPECT_EQ(&combo.Item(3), &combo.Item(1));
}

TEST_F(Combos, RefuseAnItemThatIsNotThere) {
    combo.AddItems({"one"});

    EXPECT_THROW(combo.Item(1), Error);
    EXPECT_THROW(combo.Item(-1), Error);
}

TEST_F(Combos, ThatAreClearedLoseTheirItemsAndKeepTheirText) {
    combo.AddItems({"one"});
    combo.Text("typed");
    WatchAll();

    combo.Clear();

    EXPECT_EQ(combo.ListCount(), 0);
    EXPECT_EQ(combo.Text(), "typed");
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

class Lists : public Controls {
protected:
    Lists() {
        list.AddItem("one");
        list.AddItem("two");
        list.Click = [this] { ++clicks; };
    }
    ListBox list{window, "lstHistory"};
};

TEST_F(Lists, TellEachItemThatIsAdded) {
    WatchAll();

    list.AddItem("three");

    EXPECT_THAT(list.Items(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Lists, ThatAreClearedLoseTheirItemsAndTheirSelection) {
    list.ListIndex(1);
    WatchAll();

    list.Clear();

    EXPECT_THAT(list.Items(), IsEmpty());
    EXPECT_EQ(list.ListIndex(), -1);
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Lists, RaiseAClickForASelectionAlsoOfTheSameLine) {
    WatchAll();

    list.ListIndex(1);
    list.ListIndex(1);

    EXPECT_EQ(list.ListIndex(), 1);
    EXPECT_EQ(clicks, 2);
    EXPECT_THAT(told, ElementsAre(Change::Selection, Change::Selection));
}

TEST_F(Lists, RefuseALineThatTheyDoNotHave) {
    EXPECT_EQ(NoLine([&] { list.ListIndex(-1); }), "lstHistory has no line -1");
    EXPECT_EQ(NoLine([&] { list.ListIndex(2); }), "lstHistory has no line 2");
    EXPECT_EQ(list.ListIndex(), -1);
    EXPECT_EQ(clicks, 0);
}

class Tables : public Controls {
protected:
    Tables() {
        table.Add({.text = "one"});
        table.Add({.text = "two"});
        table.ItemClick = [this] { ++clicks; };
    }
    std::vector<std::string> Rows() const {
        std::vector<std::string> texts;
        for (const ListItem& item : table.Items())
            texts.push_back(item.text);
        return texts;
    }

    ListView table{window, "lstFinding", {"Code"}};
};

TEST_F(Tables, TellEachRowThatIsAdded) {
    WatchAll();

    table.Add({.text = "three"});

    EXPECT_THAT(Rows(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Tables, ReplaceARowAndKeepTheSelection) {
    table.Select(1);
    WatchAll();

    table.Replace(0, {.text = "first"});

    EXPECT_THAT(Rows(), ElementsAre("first", "two"));
    EXPECT_EQ(table.SelectedIndex(), 1);
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Tables, ThatLoseARowLoseTheirSelection) {
    table.Select(1);
    WatchAll();

    table.Remove(0);

    EXPECT_THAT(Rows(), ElementsAre("two"));
    EXPECT_EQ(table.SelectedIndex(), -1);
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Tables, ThatAreClearedAreEmptyWithoutASelection) {
    table.Select(1);

    table.Clear();

    EXPECT_THAT(Rows(), IsEmpty());
    EXPECT_EQ(table.SelectedIndex(), -1);
}

TEST_F(Tables, AreFilledAndTellOnce) {
    WatchAll();

    table.Fill([](auto& rows) { rows.insert(rows.end(), {{.text = "three"}, {.text = "four"}}); });

    EXPECT_THAT(Rows(), ElementsAre("one", "two", "three", "four"));
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Tables, TellAlsoWhenTheirFillingFails) {
    table.Select(1);
    WatchAll();

    EXPECT_THROW(table.Fill([](auto& rows) {
        rows.clear();
        throw Error(7, "catalogue", "The table is locked");
    }),
                 Error);

    EXPECT_EQ(table.SelectedIndex(), -1);
    EXPECT_THAT(told, ElementsAre(Change::Items));
}

TEST_F(Tables, SayThatTheirRowsHaveChangedOnceForEachChange) {
    int changed = 0;
    table.Changed = [&] { ++changed; };
    table.Add({.text = "three"});
    table.Replace(0, {.text = "zero"});
    table.Remove(1);
    table.Select(0);
    EXPECT_EQ(changed, 3);
    table.Clear();
    EXPECT_EQ(changed, 4);
}

TEST_F(Tables, RaiseAClickForASelection) {
    WatchAll();

    table.Select(1);

    EXPECT_EQ(table.SelectedIndex(), 1);
    EXPECT_EQ(clicks, 1);
    EXPECT_THAT(told, ElementsAre(Change::Selection));
}

TEST_F(Tables, RefuseToSelectARowThatTheyDoNotHave) {
    EXPECT_EQ(NoLine([&] { table.Select(-1); }), "lstFinding has no line -1");
    EXPECT_EQ(NoLine([&] { table.Select(2); }), "lstFinding has no line 2");
    EXPECT_EQ(table.SelectedIndex(), -1);
    EXPECT_EQ(clicks, 0);
}

TEST_F(Tables, RefuseToChangeARowThatTheyDoNotHave) {
    EXPECT_EQ(NoLine([&] { table.Replace(2, {}); }), "lstFinding has no line 2");
    EXPECT_EQ(NoLine([&] { table.Remove(2); }), "lstFinding has no line 2");
    EXPECT_THAT(Rows(), ElementsAre("one", "two"));
}

} // namespace
} // namespace tavrel
