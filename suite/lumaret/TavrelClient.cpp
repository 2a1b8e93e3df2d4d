#include "suite/lumaret/TavrelClient.h"

#include "platform/dbus/BusNames.h"
#include "platform/dbus/ViewParametersMap.h"
#include "platform/limits.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <limits>
#include <utility>

namespace tavrel {
namespace {

// A person answers a chooser or a message in his own time, and an end of the program is seen.
constexpr int WithoutLimit = std::numeric_limits<int>::max();
constexpr int ImagesFirst = 1000; // ms; they are drawn before the program takes a processor

QDBusMessage AskStudy(const QString& owner) {
    auto question = QDBusMessage::createMethodCall(owner, TavrelReport.path, PropertiesInterface, "Get");
    question << TavrelReport.interface << StudyOfReport;
    question.setAutoStartService(false);
    return question;
}

/// A longer text is no study's, and would be shown.
QString StudyIn(const QVariant& value) {
    const QString study = value.toString();
    constexpr qsizetype longest = longest::Uid;
    return study.size() > longest ? study.left(longest) + "..." : study;
}

QString StudyIn(const QDBusPendingCall& answer) {
    return StudyIn(answer.reply().arguments().value(0).value<QDBusVariant>().variant());
}

} // namespace

TavrelClient::TavrelClient(QDBusConnection bus, QObject* parent) : QObject(parent), bus_(std::move(bus)) {
    auto* name = new QDBusServiceWatcher(TavrelFactory.service, bus_, QDBusServiceWatcher::WatchForRegistration, this);
    connect(name, &QDBusServiceWatcher::serviceRegistered, this, &TavrelClient::AskRunningProgram);
    programs_ = new QDBusServiceWatcher({}, bus_, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(programs_, &QDBusServiceWatcher::serviceUnregistered, this, &TavrelClient::Gone);
    bus_.connect(TavrelReport.service, TavrelReport.path, PropertiesInterface, "PropertiesChanged", this,
                 SLOT(ReportChanged(QDBusMessage)));
    ahead_.setSingleShot(true);
    ahead_.setInterval(ImagesFirst);
    ahead_.callOnTimeout([this] {
        if (owner_.isEmpty() && !wanted_)
            bus_.asyncCall(MethodCall(MessageBus, "StartServiceByName") << TavrelFactory.service << 0U);
    });
    AskRunningProgram();
}

void TavrelClient::Call(const QDBusMessage& message, const Answered& answered) {
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message, WithoutLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answered] {
        watcher->deleteLater();
        answered(*watcher);
    });
}

void TavrelClient::Step(const QDBusMessage& message, const Answered& answered) {
    Call(message, [this, answered, attempt = attempt_](const QDBusPendingCall& call) {
        if (wanted_ && attempt == attempt_)
            answered(call);
    });
}

QDBusMessage TavrelClient::ObjectCall(const QString& member, const QVariantList& arguments) const {
    // At the program that made it: no other one is ever started for the call.
    auto message = QDBusMessage::createMethodCall(owner_, path_, TavrelObjectInterface, member);
    message.setArguments(arguments);
    return message;
}

void TavrelClient::AskRunningProgram() {
    Call(AskStudy(TavrelReport.service), [this](const QDBusPendingCall& call) {
        if (call.isError())
            return; // none runs, or it does not tell
        Follow(call.reply().service());
        tells_ = true;
        TakeStudy(StudyIn(call));
    });
}

void TavrelClient::Follow(const QString& owner) {
    if (owner == owner_)
        return;
    owner_ = owner;
    path_.clear();
    tells_ = false;
    openStudy_.clear();
    programs_->setWatchedServices({owner});
    // It may have ended before it was watched.
    Call(MethodCall(MessageBus, "NameHasOwner") << owner, [this, owner](const QDBusPendingCall& call) {
        if (!call.isError() && !call.reply().arguments().value(0).toBool())
            Gone(owner);
    });
}

void TavrelClient::Gone(const QString& owner) {
    if (owner != owner_)
        return;
    const bool wasOpen = Open();
    owner_.clear();
    path_.clear();
    openStudy_.clear();
    tells_ = false;
    if (std::exchange(closing_, false)) {
        emit StateChanged();
        emit Closed();
        OpenUnlessAnother();
        return;
    }
    const bool early = wanted_ && !Asking();
    wanted_.reset();
    asked_.clear();
    emit StateChanged();
    emit Closed();
    if (early)
        emit Said(tr("The report program ended before the report was open."));
    else if (wasOpen)
        emit Said(tr("The report was closed."));
    if (wasOpen) // one that ends by itself would be started for ever
        StartAhead();
}

void TavrelClient::ReportChanged(const QDBusMessage& signal) {
    if (signal.service() != owner_ || signal.arguments().value(0) != QLatin1String(TavrelReport.interface))
        return;
    const auto changed = qdbus_cast<QVariantMap>(signal.arguments().value(1));
    if (changed.contains(StudyOfReport))
        TakeStudy(StudyIn(changed.value(StudyOfReport)));
}

void TavrelClient::TakeStudy(const QString& studyUid) {
    if (studyUid == openStudy_)
        return;
    openStudy_ = studyUid;
    emit StateChanged();
}

void TavrelClient::LoadForImgSeries(const QStringList& imageFiles, const QString& studyUid) {
    OpenWith({"LoadForImgSeries", imageFiles, studyUid});
}

void TavrelClient::LoadSRSeries(const QString& seriesUid, const QString& studyUid) {
    OpenWith({"LoadSRSeries", seriesUid, studyUid});
}

void TavrelClient::OpenWith(const WantedReport& report) {
    if (wanted_) {
        emit Said(tr("The report program is still opening a report. Answer its window first."));
        return;
    }
    wanted_ = report;
    ++attempt_;
    emit StateChanged();
    OpenUnlessAnother();
}

void TavrelClient::OpenUnlessAnother() {
    const auto another = [this] { return Open() && openStudy_ != wanted_->studyUid; };
    const auto ask = [this] {
        asked_ = openStudy_;
        emit StateChanged();
        emit CloseFirst(openStudy_, wanted_->studyUid);
    };
    if (another()) {
        ask();
        return;
    }
    emit Said(tr("Opening the report ... If Tavrel asks which one, answer there."));
    // Somebody else may have had a report opened in the meantime.
    Create([this, another, ask] { another() ? ask() : Load(); });
}

void TavrelClient::Create(const std::function<void()>& next) {
    Step(MethodCall(TavrelFactory, "CreateInstance"), [this, next](const QDBusPendingCall& creation) {
        if (creation.isError()) {
            GiveUp(tr("The report program could not be started: %1").arg(creation.error().message()));
            return;
        }
        Follow(creation.reply().service());
        path_ = creation.reply().arguments().value(0).value<QDBusObjectPath>().path();
        Step(AskStudy(owner_), [this, next](const QDBusPendingCall& call) {
            tells_ = !call.isError();
            if (tells_)
                TakeStudy(StudyIn(call));
            next();
        });
    });
}

void TavrelClient::Load() {
    Step(ObjectCall(wanted_->member, {wanted_->argument}), [this](const QDBusPendingCall& loading) {
        if (loading.isError()) {
            GiveUp(tr("The report program ended: %1").arg(loading.error().message()));
            return;
        }
        if (!tells_) {
            openStudy_ = wanted_->studyUid;
            Finish();
            return;
        }
        Step(AskStudy(owner_), [this](const QDBusPendingCall& call) {
            if (!call.isError())
                openStudy_ = StudyIn(call);
            Finish();
        });
    });
}

void TavrelClient::Finish() {
    const bool there = openStudy_ == wanted_->studyUid;
    wanted_.reset();
    emit StateChanged();
    emit Said(there ? tr("Ready.") : tr("No report was opened."));
}

void TavrelClient::GiveUp(const QString& words) {
    wanted_.reset();
    closing_ = false;
    emit StateChanged();
    emit Said(words);
}

void TavrelClient::LeaveOpen() {
    if (!std::exchange(asked_, {}).isEmpty())
        GiveUp(tr("The open report stays open; no other one was opened."));
}

void TavrelClient::CloseAndOpen() {
    const QString agreed = std::exchange(asked_, {});
    if (agreed.isEmpty())
        return;
    emit StateChanged();
    emit Said(tr("Closing the open report ..."));
    const auto close = [this, agreed] { openStudy_ == agreed ? Close() : OpenUnlessAnother(); };
    if (path_.isEmpty()) // somebody else had it opened
        Create(close);
    else
        close();
}

void TavrelClient::Close() {
    closing_ = true;
    Step(ObjectCall("CloseReport"), [this](const QDBusPendingCall& call) {
        // The end itself may come in place of the answer.
        if (call.isError() && call.error().type() != QDBusError::NoReply)
            GiveUp(tr("The open report could not be closed: %1").arg(call.error().message()));
    });
}

void TavrelClient::CallImages(const QString& member, const QVariantList& arguments, const std::function<void()>& done) {
    if (Opening() || !Open()) {
        emit Said(Opening() ? tr("The report program is still opening a report. Answer its window first.")
                            : tr("No report is open. Press Report first."));
        return;
    }
    emit Said(tr("Waiting for the report program ..."));
    Call(ObjectCall(member, arguments), [this, done, owner = owner_](const QDBusPendingCall& call) {
        if (owner != owner_)
            return; // the program has ended meanwhile, and that has been said
        if (call.isError())
            emit Said(tr("The report program failed: %1").arg(call.error().message()));
        else
            done();
    });
}

void TavrelClient::AddImage(const ReportImage& image) {
    CallImages("AddImageToSR", {image.filename, ViewParametersMap(image.view), image.lutName}, [this, image] {
        emit Said(tr("The image was added to the report. Save the report to keep it."));
        emit Added(image);
    });
}

void TavrelClient::RemoveImages() {
    CallImages("RemoveImagesFromSR", {}, [this] {
        emit Said(tr("The report's images were removed from its list. Others, added and saved, take their place."));
        emit Removed();
    });
}

} // namespace tavrel
