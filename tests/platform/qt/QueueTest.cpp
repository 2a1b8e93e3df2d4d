#include "tests/platform/qt/Preview.h"

#include <QCheckBox>
#include <QComboBox>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>
#include <QRadioButton>
#include <QSpinBox>

#include <algorithm>
#include <cstdlib>

namespace tavrel::test {
namespace {

/// Prints to the queue of `tests/support/printqueue`, under which these tests run.
class PrintQueue : public Preview {
protected:
    /// The person prints `reading` and does `choose` in the print dialog first. Answers the text of what
    /// reached the queue.
    std::string Print(const std::string& reading, std::function<void(QPrintDialog&)> choose) {
        const auto before = Documents();
        Show(reading, [&](QWidget& preview) {
            InDialog<QPrintDialog>([&](QPrintDialog& dialog) {
                choose(dialog);
                if (dialog.isVisible())
                    dialog.accept();
            });
            Press(preview, "&Print...");
        });
        auto after = Documents();
        std::erase_if(after, [&](const auto& file) { return std::ranges::count(before, file) != 0; });
        return after.size() == 1 ? RunShell("pdftotext -raw '" + after[0] + "' -").out
                                 : std::to_string(after.size()) + " documents";
    }

    static Texts Documents() {
        Texts files;
        for (const auto& entry : std::filesystem::directory_iterator(std::getenv("PRINT_SPOOL")))
            if (entry.path().filename().string().starts_with("d"))
                files.push_back(entry.path().string());
        std::ranges::sort(files);
        return files;
    }
};

TEST_F(PrintQueue, IsListedAndTakesThePage) {
    bool listed = false;
    const auto text = Print("Normal.", [&](QPrintDialog& dialog) {
        for (const auto* box : dialog.findChildren<QComboBox*>())
            listed = listed || box->findText("Reparto") >= 0;
    });
    EXPECT_TRUE(listed);
    EXPECT_TRUE(text.ends_with("Referto stampato il 15/11/2026\n\f")) << text;
    EXPECT_NE(text.find("Paziente\nROSSI, MARIA\n"), std::string::npos) << text;
}

TEST_F(PrintQueue, TakesEveryPage) {
    EXPECT_EQ(std::ranges::count(Print(threePages, [](QPrintDialog&) {}), '\f'), 3);
}

TEST_F(PrintQueue, TakesOnlyThePagesAskedFor) {
    const auto text = Print(threePages, [](QPrintDialog& dialog) {
        dialog.findChild<QRadioButton*>("printRange")->click();
        for (const char* end : {"to", "from"})
            dialog.findChild<QSpinBox*>(end)->setValue(3);
    });
    EXPECT_EQ(std::ranges::count(text, '\f'), 1);
    EXPECT_NE(text.find("Il medico"), std::string::npos) << text;
}

TEST_F(PrintQueue, TakesTheLastPageFirstWhenAsked) {
    const auto text =
        Print(threePages, [](QPrintDialog& dialog) { dialog.findChild<QCheckBox*>("reverse")->setChecked(true); });
    EXPECT_EQ(std::ranges::count(text, '\f'), 3);
    EXPECT_LT(text.find("Il medico"), text.find("Paziente")) << text;
}

TEST_F(PrintQueue, OfAnotherPrinterIsGivenThatPrintersPaper) {
    RunShell("lpadmin -p Letter -E -v file:/dev/null -P '" LETTER_PRINTER "'");
    Print("Normal.", [](QPrintDialog& dialog) {
        auto& printers = *dialog.findChild<QComboBox*>("printers");
        printers.setCurrentIndex(printers.findText("Letter"));
    });
    const std::string paper = RunShell("pdfinfo '" + Documents().back() + "'").out;
    EXPECT_NE(paper.find("(letter)"), std::string::npos) << paper;
}

TEST_F(PrintQueue, ThatIsGoneWhenTheDialogIsAcceptedIsTold) {
    RunShell("lpadmin -p Vanishing -E -v file:/dev/null -m raw; lpadmin -d Vanishing");
    QString said;
    EXPECT_EQ(Print("Normal.",
                    [&](QPrintDialog& dialog) {
                        EXPECT_EQ(dialog.printer()->printerName(), "Vanishing");
                        RunShell("lpadmin -x Vanishing; lpadmin -d Reparto");
                        InDialog<QMessageBox>([&](QMessageBox& message) {
                            said = message.text();
                            message.accept();
                        });
                    }),
              "0 documents");
    EXPECT_TRUE(said.startsWith("The report was not printed: the printer Vanishing does not take it ("))
        << said.toStdString();
}

TEST_F(PrintQueue, TakesNothingFromADialogThatIsLeft) {
    EXPECT_EQ(Print("Normal.", [](QPrintDialog& dialog) { dialog.reject(); }), "0 documents");
}

} // namespace
} // namespace tavrel::test
