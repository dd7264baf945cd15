/// Ending is not stopping: what a run that is cut short may no longer delete.
///
/// A run that was stopped goes on to its later phases and deletes what its preferences say.
/// Somebody who presses Stop can be asked before; a program that is told to end cannot ask, and
/// keeps everything. As soon as either of the first two calls was made, the key
/// `DeleteEmptiedFolders` is answered with false and FSDeleteObject refuses, so that a deletion
/// under way ends there too.
#pragma once

#include <cstdint>

/// The program has been told to end: nothing is deleted any more, neither in the folder in hand nor
/// in those whose turn has not come. Never taken back. A signal's handler may call it.
void NoteEnding();

/// Has SIGINT, SIGTERM and SIGHUP call NoteEnding and then `note`, with the others kept off until
/// it returns. One that the program was started to ignore stays ignored: nohup wants it, and
/// scripts for what they run in the background.
void CatchEndingSignals(void (*note)(int signal));

/// What is left in the folder in hand is to be kept; the next one is treated as ever.
void KeepFolderInHand();

bool IsEnding();

/// Whether one of the two holds now.
bool IsDeletionCalledOff();

/// The dropped folder that a run has in hand.
struct FolderInHand {
  std::uint64_t number = 0;     ///< how many the process has taken, this one included
  bool isTaken = false;         ///< false between two folders
  bool hasFilesToMove = false;  ///< not all of them have had their turn yet
  bool isKept = false;          ///< by KeepFolderInHand
};
const FolderInHand &TheFolderInHand();

/// For the journal, which is told of each of these.
void NoteFolderTaken();
void NoteFolderMoved();
void NoteFolderDone();
