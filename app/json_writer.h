/// A JSON document that is written while it is being made, so that all of it never takes memory.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

/// Writes what `nlohmann::ordered_json::dump(2)` would. Bytes that are not UTF-8 become U+FFFD.
class CJsonWriter {
 public:
  using Json = nlohmann::ordered_json;
  /// Takes the next bytes of the document; false ends the writing.
  using Output = std::function<bool(std::string_view bytes)>;

  explicit CJsonWriter(Output output) : output_(std::move(output)) {}

  /// Begins an object, '{', or an array, '[', which goes on until it is closed.
  void Open(char bracket);
  void Close();
  /// The next call gives the member's value.
  void Key(std::string_view key);
  void Value(const Json &value);
  void Member(std::string_view key, const Json &value) {
    Key(key);
    Value(value);
  }
  /// The same for bytes, as SetText gives them.
  void Text(std::string_view key, const std::string &bytes);
  /// Ends the document's last line.
  void End();

  /// False when the output has taken no more: what follows goes nowhere.
  bool IsTaken() const { return isTaken_; }

 private:
  void BeginValue();
  void BeginLine();
  void HandOver();

  Output output_;
  std::string text_;     ///< not handed over yet
  std::string closers_;  ///< the brackets that are to come, the outermost first
  bool isFirst_ = true;  ///< in its object or array
  bool hasKey_ = false;  ///< of the value that comes
  bool isTaken_ = true;
};

/// JSON is UTF-8, names on disk are any bytes: those that are no text are given exactly beside it,
/// as "KEYBase64".
void SetText(CJsonWriter::Json &object, const std::string &key, const std::string &bytes);
