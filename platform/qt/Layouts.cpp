#include "platform/qt/Layouts.h"

#include "ui_frmBase.h"
#include "ui_frmCompare.h"
#include "ui_frmReport.h"
#include "ui_frmSRSeriesChoice.h"

namespace tavrel {
namespace {

template <typename Designed> void LayOut(QWidget& window) {
    Designed().setupUi(&window);
}

} // namespace

const Layouts& DesignedLayouts() {
    static const Layouts layouts{
        {"frmBase", LayOut<Ui::frmBase>},
        {"frmCompare", LayOut<Ui::frmCompare>},
        {"frmReport", LayOut<Ui::frmReport>},
        {"frmSRSeriesChoice", LayOut<Ui::frmSRSeriesChoice>},
    };
    return layouts;
}

} // namespace tavrel
