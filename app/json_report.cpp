#include "app/json_report.h"

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "app/report_words.h"
#include "platform/strings.h"
#include "platform/terminal/terminal.h"

namespace {

using Json = nlohmann::ordered_json;

/// By event; from kLeftInPlace on it is the name of a list too.
constexpr const char *kKeys[kRunEventCount] = {
    "found",
    "handled",
    "moved",
    "alreadyInPlace",
    "aliased",
    "untouched",
    "hiddenUncollated",
    "withoutExtensionUncollated",
    "leftInPlace",
    "renamed",
    "unreadFolders",
    "deletedFiles",
    "deletedFolders",
    "notDeleted",
    "foldersMade",
    "collated",
    "notCollated",
};

bool IsUtf8(const std::string &bytes) {
  const auto text = CFStringCreateWithCString(bytes.c_str(), kCFStringEncodingUTF8);
  if (!text) return false;
  for (std::size_t i = 0; i < text->size(); ++i) {
    const char16_t unit = (*text)[i];
    if (unit >= 0xDC00 && unit < 0xE000) return false;
    if (unit >= 0xD800 && unit < 0xDC00) ++i;  // The pair of a character beyond 16 bits.
  }
  return true;
}

/// RFC 4648.
std::string Base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t start = 0; start < bytes.size(); start += 3) {
    const std::string_view group = bytes.substr(start, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= group.size() ? kDigits[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
  }
  return text;
}

/// JSON is UTF-8, names on disk are any bytes: those that are no text are given exactly beside it.
void SetText(Json &object, const std::string &key, const std::string &bytes) {
  object[key] = bytes;
  if (!IsUtf8(bytes)) object[key + "Base64"] = Base64(bytes);
}

Json Describe(const RunNote &note) {
  Json item;
  const std::string path = ItemPath(note.item);
  SetText(item, "path", path);
  if (note.event == RunEvent::kCollated) item["items"] = note.count;
  if (note.error != noErr) {
    const ResultWords words = WordsOf(note.error);
    item["reason"] = words.reason;
    item["code"] = note.error;
    item["error"] = words.name;
  }
  if (note.now == nullptr) return item;
  const std::string now = ItemPath(*note.now);
  if (note.event == RunEvent::kRenamed) {
    SetText(item, "newName", now.substr(now.rfind('/') + 1));
  } else if (now != path) {
    SetText(item, "now", now);
  }
  return item;
}

class CJsonReport final : public CRunObserver {
 public:
  explicit CJsonReport(const std::string &program) {
    document_["format"] = 1;
    document_["program"] = program;
    document_["complete"] = true;  // Until it is printed.
    document_["folders"] = Json::array();
    document_["errors"] = Json::array();
  }

  void AddError(const std::string &folder, const std::string &reason) noexcept {
    TakeDown([&] {
      Json error;
      SetText(error, "folder", folder);
      SetText(error, "reason", reason);
      document_["errors"].push_back(std::move(error));
    });
  }

  void BeginFolder(const FSRef &folder) noexcept override {
    TakeDown([&] {
      folderPath_ = ItemPath(folder);
      lists_ = {};
    });
  }

  void TakeNote(const RunNote &note) noexcept override {
    TakeDown([&] { lists_[static_cast<std::size_t>(note.event)].push_back(Describe(note)); });
  }

  void EndFolder(const FolderReport &report) noexcept override {
    if (report.outcome == RunOutcome::kInUse) {
      AddError(folderPath_, report.reason);
      return;
    }
    TakeDown([&] {
      Json folder;
      SetText(folder, "path", folderPath_);
      folder["ended"] = WordsOf(report.outcome);
      folder["seconds"] = report.seconds;
      Json &counts = folder["counts"];
      for (std::size_t i = 0; i < kRunEventCount; ++i) counts[kKeys[i]] = report.counts[i];
      for (auto i = static_cast<std::size_t>(RunEvent::kLeftInPlace); i < kRunEventCount; ++i) {
        folder[kKeys[i]] = std::move(lists_[i]);
      }
      document_["folders"].push_back(std::move(folder));
    });
  }

  void EndRun() noexcept override { Print(); }

  void Print() noexcept {
    if (std::exchange(isPrinted_, true)) return;
    document_["complete"] = isComplete_;
    try {
      WriteOutput(document_.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    } catch (...) {
      WriteOutput(R"({"format": 1, "complete": false})"
                  "\n");
    }
  }

 private:
  /// Lets the run go on whatever happens here, as when memory is short. What comes later is not
  /// taken down either: with a gap in it, a list would look whole.
  template <typename Work>
  void TakeDown(Work work) noexcept {
    if (!isComplete_) return;
    try {
      work();
    } catch (...) {
      isComplete_ = false;
    }
  }

  Json document_;
  std::string folderPath_;
  std::array<Json::array_t, kRunEventCount> lists_;
  bool isComplete_ = true;
  bool isPrinted_ = false;
};

std::unique_ptr<CJsonReport> report;

}  // namespace

void StartJsonReport(const std::string &program) {
  report = std::make_unique<CJsonReport>(program);
  AddRunObserver(report.get());
}

void ReportUnusableFolder(const std::string &folder, const std::string &reason) {
  if (report != nullptr) report->AddError(folder, reason);
}

void PrintJsonReport() {
  if (report != nullptr) report->Print();
}
