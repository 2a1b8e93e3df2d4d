#pragma once

#include "platform/person_name.h"
#include "platform/qt/FormWindow.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeView>
#include <gtest/gtest.h>

namespace tavrel {

/// A form with a control of each kind.
struct OneOfEach : Form {
    OneOfEach() : Form("frmOneOfEach", "One of each") {}
    void FrameClosed() override { ++frameClosed; }

    Label lblLine{*this, "lblLine", {}, WrittenName};
    TextBox txtLine{*this, "txtLine"};
    ComboBox cmbBox{*this, "cmbBox"};
    ListBox lstLines{*this, "lstLines"};
    ListView lstRows{*this, "lstRows", {"Code", "Description"}};
    OptionGroup optChoice{*this, "optChoice", 2};
    Button cmdPress{*this, "cmdPress"};
    Frame frmInside{*this, "frmInside"};
    TextBox txtInside{*this, "txtInside"};
    TextBox txtParagraphs{*this, "txtParagraphs"};
    Label lblInside{*this, "lblInside"};
    int frameClosed = 0;
};

/// Its layout, without a place for anything: every widget stands at a size at which it can be clicked.
void LayOutOneOfEach(QWidget& window);

/// The form in its window, shown.
class OneOfEachShown : public testing::Test {
protected:
    OneOfEachShown();
    ~OneOfEachShown() override { window_.Dismiss(); }

    template <typename Widget> Widget& Find(const char* name) { return *window_.findChild<Widget*>(name); }
    /// Clicks the row with the mouse as a person does.
    static void ClickRow(QAbstractItemView& view, int row);
    static std::string Shown(const QLineEdit& line) { return line.text().toStdString(); }

    OneOfEach form_;
    FormWindow window_;
    QLineEdit& line_;
    QPlainTextEdit& paragraphs_;
};

} // namespace tavrel
