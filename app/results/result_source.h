/// Where the rows of the results window come from.
#pragma once

#include <string>
#include <vector>

#include "app/results/result_rows.h"

class CResultSource {
 public:
  virtual ~CResultSource() = default;

  /// Which rows it gives: another number when all are others, as with each run.
  virtual unsigned Version() const = 0;
  /// Whether no more will come.
  virtual bool IsOver() const = 0;

  /// The paths of the folders that it is about.
  virtual std::vector<std::string> Folders() const = 0;
  /// What is missing in the rows that it has given, and why; empty when nothing is.
  virtual std::string WhatIsMissing() const = 0;

  /// The next rows taken in are the first ones; what was kept for taking in is given back.
  virtual void Rewind() = 0;
  /// Adds a little to the rows, some thousands at most; false when nothing is left for now. Throws
  /// when there is no memory.
  virtual bool TakeIn(CResultRows *rows) = 0;
};
