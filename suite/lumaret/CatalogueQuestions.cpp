#include "suite/lumaret/CatalogueQuestions.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace tavrel {
namespace {

// A server that is slow holds so many questions at most; further ones wait.
constexpr int MostThreads = 4;

constexpr std::chrono::seconds PatienceAtTheEnd{1};

} // namespace

struct CatalogueQuestions::Shared {
    struct Question {
        QString subject;
        int turn = 0;
        std::function<Answer(StudyCatalogue&)> ask;
    };

    const std::shared_ptr<Database> database;
    const std::string dataSource;

    std::mutex guard; ///< of all that follows
    std::condition_variable changed;
    std::deque<Question> questions;
    CatalogueQuestions* asker = nullptr; ///< none at the end
    int threads = 0;
    int idle = 0;
};

CatalogueQuestions::CatalogueQuestions(std::shared_ptr<Database> database, std::string dataSource)
    : shared_(new Shared{std::move(database), std::move(dataSource), {}, {}, {}, this}) {}

CatalogueQuestions::~CatalogueQuestions() {
    std::unique_lock lock(shared_->guard);
    shared_->asker = nullptr;
    shared_->questions.clear();
    shared_->changed.notify_all();
    shared_->changed.wait_for(lock, PatienceAtTheEnd, [this] { return shared_->threads == 0; });
}

void CatalogueQuestions::Put(const QString& subject, std::function<Answer(StudyCatalogue&)> question) {
    Forget(subject);
    waiting_.insert(subject);
    const std::lock_guard lock(shared_->guard);
    shared_->questions.push_back({subject, turns_[subject], std::move(question)});
    const auto asked = static_cast<std::size_t>(shared_->idle);
    if (shared_->questions.size() > asked && shared_->threads < MostThreads) {
        ++shared_->threads;
        // Left alone at the end, as the drivers' calls are: a server that is silent keeps it.
        std::thread([shared = shared_] { Run(shared); }).detach();
    }
    shared_->changed.notify_one();
}

void CatalogueQuestions::Forget(const QString& subject) {
    ++turns_[subject];
    waiting_.erase(subject);
    const std::lock_guard lock(shared_->guard);
    std::erase_if(shared_->questions, [&](const Shared::Question& each) { return each.subject == subject; });
}

void CatalogueQuestions::Take(const QString& subject, int turn, const Answer& answer) {
    if (turn != turns_[subject])
        return;
    waiting_.erase(subject);
    answer();
}

void CatalogueQuestions::Run(const std::shared_ptr<Shared>& shared) {
    std::optional<StudyCatalogue> catalogue(std::in_place, *shared->database, shared->dataSource);
    std::unique_lock lock(shared->guard);
    while (shared->asker) {
        if (shared->questions.empty()) {
            ++shared->idle;
            shared->changed.wait(lock, [&] { return !shared->asker || !shared->questions.empty(); });
            --shared->idle;
            continue;
        }
        const Shared::Question question = std::move(shared->questions.front());
        shared->questions.pop_front();
        lock.unlock();
        const Answer answer = question.ask(*catalogue);
        lock.lock();
        if (CatalogueQuestions* asker = shared->asker)
            QMetaObject::invokeMethod(
                asker,
                [asker, subject = question.subject, turn = question.turn, answer] {
                    asker->Take(subject, turn, answer);
                },
                Qt::QueuedConnection);
    }
    lock.unlock();
    catalogue.reset();
    lock.lock();
    --shared->threads;
    shared->changed.notify_all();
}

} // namespace tavrel
