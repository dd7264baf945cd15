#include "app/history/history_words.h"

#include <ctime>

#include "app/report_words.h"

namespace {

struct StateWords {
  const char *key;
  const char *text;
};

StateWords WordsOf(PastRunState state) {
  switch (state) {
    case PastRunState::kTakenBack:
      return {"takenBack", "taken back"};
    case PastRunState::kTakenBackInPart:
      return {"takenBackInPart", "taken back in part"};
    case PastRunState::kHalfTakenBack:
      return {"halfTakenBack", "taking it back was stopped"};
    case PastRunState::kNotKnown:
      return {"unknown", "can't be taken back"};
    case PastRunState::kInForce:
      break;
  }
  return {"inForce", "can be taken back"};
}

}  // namespace

std::string LocalTimeOf(const PastRun &run) {
  std::tm parts{};
  if (strptime(run.time.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts) == nullptr) return run.time;
  const std::time_t seconds = timegm(&parts);
  (void)localtime_r(&seconds, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string WhatWasDoneIn(const PastRun &run) {
  std::string text;
  for (const auto &[key, one, several, number] : kPastCountWords) {
    if (run.*number == 0) continue;
    if (!text.empty()) text += ", ";
    text.append(std::to_string(run.*number)).append(" ");
    text.append(run.*number == 1 ? one : several);
  }
  if (text.empty()) text = "nothing moved";
  if (run.wasInterrupted || run.end == RunEnd::kStopped) text.append(", ").append(EndOf(run));
  return text;
}

const char *StateKeyOf(const PastRun &run) {
  return WordsOf(run.state).key;
}

std::string StateTextOf(const PastRun &run, const char *howToGoOn) {
  std::string text = WordsOf(run.state).text;
  if (run.state == PastRunState::kHalfTakenBack) text += howToGoOn;
  if (!run.reason.empty()) text.append(": ").append(run.reason);
  if (run.left > 0) {
    text.append(", save ")
        .append(std::to_string(run.left))
        .append(run.left == 1 ? " item" : " items");
  }
  if (run.state == PastRunState::kInForce && run.deleted > 0) text += ", save the files deleted";
  return text;
}
