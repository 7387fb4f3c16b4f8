#include "tools/probe/Fetcher.h"

#include "tools/probe/Exchange.h"

#include <QEventLoop>

namespace Kavo::Tools {

namespace {

/// The number of connections to a host; further requests would wait without an answer.
constexpr int AtOnce = 6;
constexpr int MostSilences = 3;

} // namespace

Answer Fetcher::ask(const Question &question)
{
    return ask(QVector<Question>{question}).first();
}

QVector<Answer> Fetcher::ask(const QVector<Question> &questions)
{
    QVector<Answer> answers(questions.size());
    QEventLoop loop;
    int next = 0;
    int running = 0;
    std::function<void()> fill = [&] {
        while (next < questions.size() && running < AtOnce) {
            const int place = next++;
            ++running;
            begin(questions.at(place), loop, [&, place](const Answer &answer) {
                answers[place] = answer;
                --running;
                fill();
            });
        }
        if (running == 0)
            loop.quit();
    };
    // Only when the loop runs, because it would miss an earlier request to end.
    QMetaObject::invokeMethod(&loop, fill, Qt::QueuedConnection);
    loop.exec();
    return answers;
}

void Fetcher::begin(const Question &question, QObject &context,
                    const std::function<void(const Answer &)> &end)
{
    if (isGivenUp(question.address)) {
        Answer answer;
        answer.address = question.address;
        answer.end = Answer::End::NotAsked;
        QMetaObject::invokeMethod(
            &context, [answer, end] { end(answer); }, Qt::QueuedConnection);
        return;
    }
    auto *exchange = new Exchange(m_network, question, m_patience, &context);
    QObject::connect(exchange, &Exchange::ended, &context, [this, exchange, end] {
        exchange->deleteLater();
        take(exchange->answer());
        end(exchange->answer());
    });
}

bool Fetcher::isGivenUp(const QUrl &address) const
{
    return m_silences.value(address.authority()) >= MostSilences;
}

void Fetcher::take(const Answer &answer)
{
    int &silences = m_silences[answer.address.authority()];
    silences = answer.end == Answer::End::Silent ? silences + 1 : 0;
}

} // namespace Kavo::Tools
