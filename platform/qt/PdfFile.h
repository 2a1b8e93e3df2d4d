#pragma once

class QString;

namespace tavrel {

class PrintPages;

/// Writes the pages as an A4 PDF for archives (PDF/A-1b), readable by its owner only; whole or not at all. Another PDF
/// gives way to it, and nothing else. A failure is an `Error`.
void SavePdf(const PrintPages& pages, const QString& path);

} // namespace tavrel
