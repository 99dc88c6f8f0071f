#pragma once

#include <string>
#include <utility>

#include "helper/service/model/HelperModel.h"

namespace zpk {

// Has the loop do something, from the worker, and waits until it is done; false when the operation is told to stop
// first, and then it may still come. Also when the loop runs no more, because then every operation is told to stop.
bool doneOnLoop(DispatchQueue& loop, const CancelFlag& cancel, std::function<void()> work);

// Why there is no backup when the helper ended while it ran.
std::string interruptedBackupText();

// What the error is when a restore was cut off by the end of the helper.
std::string interruptedRestoreText(const std::string& diskName);

// What the model and the worker share of a running operation.
struct HelperModel::Shared {
  OperationBoard board;
  CancelFlag cancel;
};

struct HelperModel::Operation {
  std::string name;  // For the log.
  std::shared_ptr<Shared> shared = std::make_shared<Shared>();
  Token tick;
};

struct HelperModel::OperationEnd {
  OperationOutcome outcome;
  ArchiveView archive;       // As it is then.
  bool disksDiffer = false;  // From those that are known.
};

// What one look at the world brought.
struct HelperModel::Reading {
  Disks disks;
  std::string path;  // Where the archive was looked for; empty when none was set.
  ArchiveUser user;
  ArchiveView archive;
};

template <class Result>
void HelperModel::onWorker(std::function<Result()> work, std::function<void(Result)> then) {
  _parts.worker.async([&loop = _parts.loop, work = std::move(work), then = std::move(then)] {
    auto result = std::make_shared<Result>(work());
    loop.async([result, then] { then(std::move(*result)); });
  });
}

}  // namespace zpk
