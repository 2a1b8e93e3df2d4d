#pragma once

#include "platform/error.h"
#include "suite/lumaret/StudyCatalogue.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <set>

namespace tavrel {

/// Asks the catalogue beside the window, which stays alive however long the server takes.
///
/// Each question is about a subject, and of those about one subject the last alone counts: one that still waits is not
/// asked any more when a newer one comes, and an answer that comes late is nobody's. A question that finds all threads
/// waiting for the server gets one of its own, up to a bound; each has its own connection.
class CatalogueQuestions : public QObject {
public:
    explicit CatalogueQuestions(std::shared_ptr<Database> database, std::string dataSource = "DicomFDB");
    /// Does not wait for a server that does not answer.
    ~CatalogueQuestions() override;

    /// Has `question` run on a thread of its own, and what it answers given to `answered` on this one; the words of an
    /// `Error` go to `failed`.
    template <typename Question, typename Answered> void Ask(
        const QString& subject, Question question, Answered answered,
        std::function<void(const QString&)> failed = [](const QString&) {}) {
        Put(subject,
            [question = std::move(question), answered = std::move(answered),
             failed = std::move(failed)](StudyCatalogue& catalogue) -> Answer {
                try {
                    return [answered, found = question(catalogue)] { answered(found); };
                } catch (const Error& error) {
                    return [failed, words = QString::fromStdString(error.description)] { failed(words); };
                } catch (const std::exception& error) {
                    return [failed, words = QString(error.what())] { failed(words); };
                }
            });
    }

    /// Whatever was asked about it is not wanted any more.
    void Forget(const QString& subject);
    /// A question about it has no answer yet.
    bool Waits(const QString& subject) const { return waiting_.contains(subject); }
    bool Idle() const { return waiting_.empty(); }

private:
    using Answer = std::function<void()>;
    struct Shared;

    void Put(const QString& subject, std::function<Answer(StudyCatalogue&)> question);
    void Take(const QString& subject, int turn, const Answer& answer);
    static void Run(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> shared_;
    std::map<QString, int> turns_; ///< the last question about each subject
    std::set<QString> waiting_;
};

} // namespace tavrel
