#pragma once

#include "platform/dictation.h"

#include <QByteArray>

#include <memory>

class QProcess;

namespace tavrel {

/// The command as a child process, which leads a group of its own and does not outlive this program.
class QtDictation : public Dictation {
public:
    QtDictation();
    ~QtDictation() override;

    void Start(std::string_view command, std::function<void(const Outcome&)> ended) override;
    void Finish() override;
    void Stop() override;

private:
    struct Run;
    void End(const Outcome& outcome);

    std::unique_ptr<Run> run_; ///< none when no command runs
};

} // namespace tavrel
