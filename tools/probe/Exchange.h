#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

#include <QObject>
#include <QTimer>

#include <chrono>

class QNetworkAccessManager;
class QNetworkReply;

namespace Kavo::Tools {

/// One question on its way over the network. Ends, never at once, in one ended(), whatever the
/// server does: it may be silent for a while, and take twenty times as long for all of it. Holds no
/// more of the body than is to be kept. Main thread.
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
