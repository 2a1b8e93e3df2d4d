#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace tavrel {

/// One file of a structured report's series.
struct ReportVersion {
    QString path;
    QString written; ///< when its content was made, as the screen shows it; the file's name when it does not say
    int number = 0;  ///< from 1, the oldest; 0 of a file that cannot be read
    bool operator==(const ReportVersion&) const = default;
};

/// The files as versions, newest first, in the order that the editor and the paper have them: each names those before
/// it, and clocks may go wrong. A file that cannot be read is one all the same, after the others.
std::vector<ReportVersion> VersionsOf(const QStringList& files);

/// The whole document tree of a structured report of any class, rendered by the toolkit: HTML in which
/// every text of the file is text, whatever it holds, and nothing leads anywhere. A file that cannot be
/// shown is an `Error` in words that can stand on the screen in its place.
QString ReportAsHtml(const QString& path);

} // namespace tavrel
