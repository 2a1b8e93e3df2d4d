#pragma once

#include "platform/automation.h"
#include "platform/process.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace tavrel {

/// The program's public interface on the session bus: the name "Tavrel.CTavrel", the factory
/// "/Tavrel/CTavrel" and one object below it for each creation. docs/automation.md tells clients.
///
/// Calls are served one at a time in order of arrival. While anything is waited for in an event loop
/// of its own (a modal window, a message box, the viewer), the image calls and CloseReport are served
/// too and the others wait their turn; while a version is being stored all of them wait. A call is
/// answered when its operation ends. Objects live as long as the process.
///
/// Needs the application object; lives on its thread.
class DbusAutomation final : public QDBusVirtualObject {
    Q_OBJECT

public:
    /// What the program is doing.
    struct Program {
        std::function<bool()> storing;    ///< a version is being stored
        std::function<bool()> windowOpen; ///< there is a window that a person works in
    };

    /// Takes the name; an error when there is no bus or another process has the name. A program that
    /// loses its bus is ended through `process` once no window of it is open, and one that nobody has called, which the
    /// viewer had started ahead, when the viewer ends.
    DbusAutomation(QDBusConnection bus, AutomationFactory& factory, Process& process, Program program);
    ~DbusAutomation() override;

    /// The last thing before the end of the process: gives the name back, so that a new creation
    /// starts a new process, answers the CloseReport that ends it, and sees both delivered.
    void Leave();

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private slots:
    void BusLost();

private:
    struct Member;
    static const std::vector<Member> Members;
    struct Call {
        QDBusMessage message;
        const Member* member;     ///< none for a creation
        AutomationObject* object; ///< none for a creation
        bool ServedWhileWaiting() const;
        bool ClosesReport() const;
    };

    std::optional<Call> Understand(const QDBusMessage& message) const;
    std::deque<Call>::const_iterator NextToServe() const;
    void ServeSoon();
    void ServeNext();
    QVariantList Run(const Call& call);
    QString Create();
    void BeforeBlocking();
    void ViewerGone();

    QDBusConnection bus_;
    QDBusServiceWatcher viewers_;
    AutomationFactory& factory_;
    Process& process_;
    Program program_;
    std::map<QString, std::unique_ptr<AutomationObject>> objects_; ///< by path
    int created_ = 0;
    std::deque<Call> arrived_;
    std::vector<const Call*> served_; ///< on the stack, the innermost last
    bool servingSoon_ = false;
    bool busLost_ = false;
};

} // namespace tavrel
