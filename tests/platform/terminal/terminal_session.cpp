#include "tests/platform/terminal/terminal_session.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <system_error>

namespace {

int Check(int result) {
  if (result < 0) throw std::system_error(errno, std::generic_category());
  return result;
}

TerminalSession RunWith(int readEnd, int writeEnd, const std::function<int()> &body) {
  const pid_t child = Check(fork());
  if (child == 0) {
    dup2(writeEnd, STDERR_FILENO);
    close(writeEnd);
    close(readEnd);
    _exit(body());
  }
  close(writeEnd);
  TerminalSession session{};
  char buffer[4096];
  // Reading a pseudo-terminal fails when its last user has gone.
  for (ssize_t count; (count = read(readEnd, buffer, sizeof buffer)) > 0;)
    session.output.append(buffer, static_cast<std::size_t>(count));
  close(readEnd);
  int status = 0;
  Check(waitpid(child, &status, 0));
  session.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return session;
}

std::size_t Characters(const std::string &utf8) {
  std::size_t count = 0;
  for (const char byte : utf8) count += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
  return count;
}

}  // namespace

TerminalSession RunOnTerminal(unsigned short columns, const std::function<int()> &body) {
  int readEnd = -1;
  int writeEnd = -1;
  const winsize size{24, columns, 0, 0};
  Check(openpty(&readEnd, &writeEnd, nullptr, nullptr, &size));
  return RunWith(readEnd, writeEnd, body);
}

TerminalSession RunOnPipe(const std::function<int()> &body) {
  int ends[2];
  Check(pipe(ends));
  return RunWith(ends[0], ends[1], body);
}

std::vector<std::string> TerminalSession::Screen(std::size_t columns) const {
  // Text is only ever written from the start of a line on, so a line is erased as a whole.
  std::vector<std::string> lines(1);
  std::size_t row = 0;
  bool isAtStart = true;
  for (std::size_t index = 0; index < output.size(); ++index) {
    const char byte = output[index];
    if (byte == '\r') {
      isAtStart = true;
    } else if (byte == '\n') {
      if (++row == lines.size()) lines.emplace_back();
    } else if (byte == '\x1b') {
      std::size_t number = 0;
      if (output.at(++index) != '[') throw std::runtime_error("unknown escape");
      while (output.at(++index) >= '0' && output[index] <= '9')
        number = number * 10 + static_cast<std::size_t>(output[index] - '0');
      if (output[index] == 'A') {
        if (number > row) throw std::runtime_error("drawn above the screen");
        row -= number;
      } else if ((output[index] == 'K' || output[index] == 'J') && isAtStart) {
        lines[row].clear();
        if (output[index] == 'J') lines.resize(row + 1);
      } else {
        throw std::runtime_error("unknown control");
      }
    } else if (static_cast<unsigned char>(byte) < 0x20 || byte == '\x7f') {
      throw std::runtime_error("control character");
    } else {
      if (isAtStart) lines[row].clear();
      isAtStart = false;
      lines[row] += byte;
      if (Characters(lines[row]) > columns) throw std::runtime_error("too wide: " + lines[row]);
    }
  }
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}
