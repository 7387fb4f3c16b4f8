#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QVector>

#include <chrono>
#include <functional>

namespace Kavo::Tools {

/// Sends requests, several at once, and waits for all answers. A server that was silent three times
/// in a row gets no further requests, so that a long list of its addresses ends in time. Nothing is
/// cached. Main thread; runs an event loop.
class Fetcher final
{
public:
    /// The time limit for a silent server.
    explicit Fetcher(std::chrono::milliseconds patience) : m_patience(patience) {}

    std::chrono::milliseconds patience() const { return m_patience; }

    Answer ask(const Question &question);
    /// Returns the answers in the order of the questions.
    QVector<Answer> ask(const QVector<Question> &questions);

private:
    bool isGivenUp(const QUrl &address) const;
    void take(const Answer &answer);
    void begin(const Question &question, QObject &context,
               const std::function<void(const Answer &)> &end);

    std::chrono::milliseconds m_patience;
    QNetworkAccessManager m_network;
    QHash<QString, int> m_silences; ///< number of silent answers in a row, by host and port
};

} // namespace Kavo::Tools
