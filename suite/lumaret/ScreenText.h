#pragma once

#include <QString>

namespace tavrel {

/// A text as the catalogue holds it: with back-quotes for apostrophes.
QString InCatalogue(QString text);

/// A DICOM person name as people here read it: the alphabetic form, family name first. The
/// catalogue's back-quotes are apostrophes again.
QString NameOnScreen(const QString& name);

/// A patient as people here tell one from another: "NAME (ID)".
QString PatientOnScreen(const QString& name, const QString& id);

/// A DICOM date "yyyymmdd" as "dd/mm/yyyy"; any other text as it is.
QString DateOnScreen(const QString& date);

} // namespace tavrel
