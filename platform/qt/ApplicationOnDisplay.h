#pragma once

#include <memory>

class QApplication;

namespace tavrel {

/// Makes the application object of `program`. Where no window can be shown, since there is no display or
/// nobody answers there, the process ends with status 1 and a sentence on standard error; the toolkit
/// alone would abort it. `argumentCount` must live as long as the object.
std::unique_ptr<QApplication> ApplicationOnDisplay(const char* program, int& argumentCount, char** arguments);

} // namespace tavrel
