#pragma once

#include <utility>

#include "helper/service/model/HelperModel.h"

namespace zpk {

// The running operation, shared with the worker that carries it out.
struct HelperModel::Operation {
  struct Shared {
    OperationBoard board;
    CancelFlag cancel;
  };
  std::shared_ptr<Shared> shared = std::make_shared<Shared>();
  Token tick;
};

// What one look at the world brought.
struct HelperModel::Reading {
  Disks disks;
  std::string path;  // Where the archive was looked for; empty when none was set.
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
