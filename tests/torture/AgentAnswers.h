// What an agent answers, and its way of answering: without any memory of the heap, so that it may
// run inside of a program whose allocations fail.
#pragma once

namespace AgentAnswers {

// To an open and a close; to every second progress, the first included, that it is at work; and to
// the others that it has finished, with two rows.
extern char const opened[];
extern char const closed[];
extern char const atWork[];
extern char const finished[];

// The next progress counts as the first.
void BeginAgain();

// Answers the request, if there is one, by publishing a response and taking the request away.
void AnswerRequest();

} // namespace AgentAnswers
