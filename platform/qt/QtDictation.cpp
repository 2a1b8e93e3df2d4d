#include "platform/qt/QtDictation.h"

#include "platform/qt/QtText.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStringDecoder>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

#include <utility>

namespace tavrel {
namespace {

/// Two hours of speech. A command that writes on and on is ended, before its text makes each key slow.
constexpr qint64 MostDictated = 100'000;
constexpr qsizetype LastWords = 200; // characters of what it said on its error output

} // namespace

struct QtDictation::Run {
    QProcess process;
    pid_t group = 0; ///< the command and all that it has started; 0: it has not been started
    QByteArray written;
    QByteArray complaint;
    std::function<void(const Outcome&)> ended;

    void Signal(int signal) const {
        if (group > 0)
            ::kill(-group, signal);
    }
    ~Run() {
        process.disconnect();
        Signal(SIGKILL); // also where the command has ended: a recorder that it has left would listen on
        process.kill();  // it may not lead its group yet
        process.waitForFinished(1000);
    }
};

QtDictation::QtDictation() = default;
QtDictation::~QtDictation() = default;

void QtDictation::Start(std::string_view command, std::function<void(const Outcome&)> ended) {
    Stop();
    run_ = std::make_unique<Run>();
    run_->ended = std::move(ended);
    auto& process = run_->process;
    QStringList arguments = QProcess::splitCommand(ToQt(command));
    const QString program = arguments.isEmpty() ? QString() : arguments.takeFirst();
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier([] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        ::signal(SIGINT, SIG_DFL); // what a program in the background ignores its children ignore, too
    });
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, [this] {
        run_->written += run_->process.readAllStandardOutput();
        if (run_->written.size() > MostDictated)
            End({{}, "it writes more than anyone can have spoken"});
    });
    QObject::connect(&process, &QProcess::readyReadStandardError, &process, [this] {
        run_->complaint = (run_->complaint + run_->process.readAllStandardError()).right(4 * LastWords);
    });
    QObject::connect(&process, &QProcess::errorOccurred, &process, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        run_->group = 0;
        End({{}, "it cannot be started: " + FromQt(run_->process.errorString())});
    });
    QObject::connect(&process, &QProcess::finished, &process, [this](int status, QProcess::ExitStatus how) {
        run_->written += run_->process.readAllStandardOutput();
        const auto said = QString::fromUtf8(run_->complaint).simplified().right(LastWords);
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString text = decoder(run_->written);
        if (how == QProcess::CrashExit)
            End({{}, "it was ended by the signal " + std::to_string(status)});
        else if (status != 0)
            End({{},
                 "it ended with the status " + std::to_string(status) +
                     (said.isEmpty() ? std::string() : ": " + FromQt(said))});
        else if (decoder.hasError() || text.contains(QChar(0)))
            End({{}, "what it wrote is no text in UTF-8"});
        else
            End({FromQt(text.trimmed()), {}});
    });
    process.start(program, arguments);
    if (run_)
        run_->group = static_cast<pid_t>(process.processId());
}

void QtDictation::End(const Outcome& outcome) {
    // Not taken apart within its own signal; and whoever is told may start another.
    const std::shared_ptr<Run> run = std::move(run_);
    run->process.disconnect();
    QMetaObject::invokeMethod(
        qApp, [run] {}, Qt::QueuedConnection);
    run->ended(outcome);
}

void QtDictation::Finish() {
    if (run_)
        run_->Signal(SIGINT);
}

void QtDictation::Stop() {
    run_.reset();
}

} // namespace tavrel
