#include "tools/probe/Repetition.h"

namespace Kavo::Tools {

Question repetitionOf(const Answer &answer)
{
    Question question{answer.address, Question::Method::Get, {}, 1, 0};
    if (!answer.entityTag.isEmpty())
        question.headers.append({"If-None-Match", answer.entityTag});
    if (answer.hasDate)
        question.headers.append({"If-Modified-Since", answer.origin.lastModified});
    return question;
}

} // namespace Kavo::Tools
