#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QVector>

#include <chrono>
#include <functional>

namespace Kavo::Tools {

/// Asks questions, several at once, and waits for all answers. A server that was silent three times
/// in a row is not asked any more, so that a long list of its addresses comes to an end. Nothing is
/// cached. Main thread; runs an event loop.
class Fetcher final
{
public:
    /// How long a server may be silent.
    explicit Fetcher(std::chrono::milliseconds patience) : m_patience(patience) {}

    std::chrono::milliseconds patience() const { return m_patience; }

    Answer ask(const Question &question);
    /// The answers, in the order of the questions.
    QVector<Answer> ask(const QVector<Question> &questions);

private:
    bool isGivenUp(const QUrl &address) const;
    void take(const Answer &answer);
    void begin(const Question &question, QObject &context,
               const std::function<void(const Answer &)> &end);

    std::chrono::milliseconds m_patience;
    QNetworkAccessManager m_network;
    QHash<QString, int> m_silences; ///< in a row, by host and port
};

} // namespace Kavo::Tools
