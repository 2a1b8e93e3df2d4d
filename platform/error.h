#pragma once

#include <exception>
#include <string>
#include <utility>

namespace tavrel {

/// The numbers of the program's own errors. Messages show them ("Save report - 91-No report is open") and
/// people quote them: a number keeps its meaning. The DICOM objects have numbers of their own
/// (`DicomFault`); those of a database or the system are theirs.
enum class Fault : int {
    BadVersionIndex = 1,   ///< the report has no version of that index
    OfTheSuite = 1,        ///< a neighbour of the report editor; its words say it all
    NoError = 5,           ///< what failed was no `Error`: a fault of the program or of a library
    PrintedElsewhere = 7,  ///< another workstation's page stands in the print table
    NoSuchEntry = 9,       ///< a list of the report has no entry of that number
    TypeMismatch = 13,     ///< a value is not of the kind that its place asks for
    Missing = 91,          ///< what is worked on is not there: no report, no catalogue, no row selected
    NoLayout = 372,        ///< a window has no layout
    NoSuchLine = 380,      ///< a list on the screen has no line of that number
    NoSuchControl = 424,   ///< a printed layout has no control of that name
    PictureUnusable = 481, ///< a picture for the page cannot be read
    NotPrinted = 482,      ///< the printer or the file takes no page
    PdfUnsaved = 483,      ///< the page cannot be saved as a PDF
    NoPrinter = 484,       ///< the workstation has no printer
};

/// The one failure that crosses a port. An adapter turns every failure of its library into it.
/// `description` is written for the physician who reads it and the engineer who acts on it: what
/// failed, on what, why. `number` and text of a database error are the driver's own.
class Error : public std::exception {
public:
    Error(int errorNumber, std::string raisedBy, std::string words)
        : number(errorNumber), source(std::move(raisedBy)), description(std::move(words)) {}
    Error(Fault fault, std::string raisedBy, std::string words)
        : Error(static_cast<int>(fault), std::move(raisedBy), std::move(words)) {}

    const char* what() const noexcept override { return description.c_str(); }

    int number;
    std::string source;
    std::string description;
};

} // namespace tavrel
