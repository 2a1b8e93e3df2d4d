#include "tests/platform/qt/OneOfEach.h"

#include <QTest>
#include <QVBoxLayout>

namespace tavrel {
namespace {

template <typename Widget> Widget* Named(const char* name) {
    auto* widget = new Widget;
    widget->setObjectName(name);
    return widget;
}

} // namespace

void LayOutOneOfEach(QWidget& window) {
    auto* all = new QVBoxLayout(&window);
    all->addWidget(Named<QLabel>("lblLine"));
    all->addWidget(Named<QLineEdit>("txtLine"));
    auto* box = Named<QComboBox>("cmbBox");
    box->setEditable(true);
    all->addWidget(box);
    all->addWidget(Named<QListView>("lstLines"));
    all->addWidget(Named<QTreeView>("lstRows"));
    all->addWidget(Named<QRadioButton>("optChoice_0"));
    all->addWidget(Named<QRadioButton>("optChoice_1"));
    all->addWidget(Named<QPushButton>("cmdPress"));
    auto* frame = Named<QGroupBox>("frmInside");
    all->addWidget(frame);
    auto* inside = new QVBoxLayout(frame);
    inside->addWidget(Named<QLineEdit>("txtInside"));
    inside->addWidget(Named<QPlainTextEdit>("txtParagraphs"));
    inside->addWidget(Named<QLabel>("lblInside"));
}

OneOfEachShown::OneOfEachShown()
    : window_(form_, LayOutOneOfEach), line_(Find<QLineEdit>("txtLine")),
      paragraphs_(Find<QPlainTextEdit>("txtParagraphs")) {
    window_.resize(500, 900);
    window_.show();
    QCoreApplication::processEvents();
}

void OneOfEachShown::ClickRow(QAbstractItemView& view, int row) {
    const auto place = view.visualRect(view.model()->index(row, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
}

} // namespace tavrel
