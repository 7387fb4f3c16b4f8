#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

#include <QObject>
#include <QTimer>

#include <chrono>

class QNetworkAccessManager;
class QNetworkReply;

namespace Kavo::Tools {

/// One request over the network. It always ends in one ended(), never before start() has returned,
/// whatever the server does: there is a time limit for silence, and one of twenty times that for
/// the whole answer. It holds no more of the body than requested. Main thread.
class Exchange final : public QObject
{
    Q_OBJECT

public:
    Exchange(QNetworkAccessManager &network, const Question &question,
             std::chrono::milliseconds patience, QObject *parent);

    const Answer &answer() const { return m_answer; }

signals:
    void ended();

private:
    void readHead();
    void readBody();
    void noteTls();
    void endEarly(Answer::End end);
    void onFinished();
    Answer::End endOfReply() const;

    Question m_question;
    Answer m_answer;
    QNetworkReply *m_reply = nullptr;
    QTimer m_silence;
    QTimer m_whole;
    std::optional<Answer::End> m_earlyEnd;
};

} // namespace Kavo::Tools
