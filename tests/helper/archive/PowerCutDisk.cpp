#include "helper/archive/PowerCutDisk.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "helper/archive/TestFiles.h"

namespace zpk::test {
namespace {

namespace fs = std::filesystem;
using Kind = Call::Kind;

constexpr std::size_t sector = 512;
constexpr std::size_t page = 4096;

bool makesSomething(const Call& call) {
  return call.kind == Kind::Create || call.kind == Kind::MakeFolder;
}

bool namesSomething(const Call& call) {
  return makesSomething(call) || call.kind == Kind::Rename || call.kind == Kind::Unlink;
}

bool happens(double share, std::mt19937& random) {
  return std::uniform_real_distribution<>(0, 1)(random) < share;
}

void writeInto(ByteBuffer& file, std::size_t offset, ByteSpan bytes) {
  if (file.size() < offset + bytes.size()) file.resize(offset + bytes.size());
  std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
}

void punch(ByteBuffer& file, std::size_t offset, std::size_t size) {
  const std::size_t end = std::min(file.size(), offset + size);
  if (offset >= end) return;
  std::fill(file.begin() + static_cast<std::ptrdiff_t>(offset), file.begin() + static_cast<std::ptrdiff_t>(end),
            std::byte{0});
}

// Pages of zeros become holes.
void writeSparse(const std::string& path, ByteSpan bytes) {
  std::ofstream file(path, std::ios::binary);
  for (std::size_t i = 0; i < bytes.size(); i += page) {
    const ByteSpan part = bytes.subspan(i, std::min(page, bytes.size() - i));
    if (isAllZero(part)) continue;
    file.seekp(static_cast<std::streamoff>(i));
    file.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
  }
  file.close();
  fs::resize_file(path, bytes.size());
}

}  // namespace

PowerCutDisk::PowerCutDisk(const std::string& folder) {
  _root = take(folder);
}

PowerCutDisk::Id PowerCutDisk::take(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  const Id id = _ids.size() + 1;
  _ids[status.st_ino] = id;
  if (!S_ISDIR(status.st_mode)) {
    const std::string text = readAll(path);
    const ByteSpan bytes = std::as_bytes(std::span(text));
    _begin.files[id].assign(bytes.begin(), bytes.end());
    return id;
  }
  Names& names = _begin.folders[id];
  for (const auto& entry : fs::directory_iterator(path)) names[entry.path().filename()] = take(entry.path());
  return id;
}

std::vector<PowerCutDisk::Step> PowerCutDisk::stepsOf(const std::vector<Call>& calls, std::size_t count) const {
  // The inode of a file that is gone may be another file's later.
  std::map<std::uint64_t, Id> ids = _ids;
  Id next = _ids.size() + 1;
  std::vector<Step> steps;
  std::map<Id, std::size_t> lastSync;
  for (std::size_t i = 0; i < count; ++i) {
    const Call& call = calls[i];
    if (makesSomething(call)) ids[call.file] = next++;
    const auto idOf = [&](std::uint64_t inode) { return inode == 0 ? 0 : ids[inode]; };
    steps.push_back({&call, idOf(call.file), idOf(call.folder), idOf(call.newFolder)});
    if (call.kind == Kind::Sync) lastSync[steps.back().file] = i;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const auto isSynced = [&](Id id) { return id != 0 && lastSync.contains(id) && lastSync[id] > i; };
    Step& step = steps[i];
    step.isDurable =
        namesSomething(*step.call) ? isSynced(step.folder) || isSynced(step.newFolder) : isSynced(step.file);
  }
  return steps;
}

void PowerCutDisk::applyNames(State& state, const std::vector<Step>& steps, double share, std::mt19937& random) {
  std::set<Id> isBehind;  // Folders of which a change is lost, and so all later ones.
  for (const Step& step : steps) {
    if (step.call->kind == Kind::MakeFolder) state.folders[step.file];
    if (!namesSomething(*step.call)) continue;
    const bool isPossible = !isBehind.contains(step.folder) && !isBehind.contains(step.newFolder);
    if (!step.isDurable && (!isPossible || !happens(share, random))) {
      isBehind.insert(step.folder);
      if (step.newFolder != 0) isBehind.insert(step.newFolder);
      continue;
    }
    Names& names = state.folders[step.folder];
    if (makesSomething(*step.call)) names[step.call->name] = step.file;
    if (step.call->kind == Kind::Unlink) names.erase(step.call->name);
    if (step.call->kind == Kind::Rename) {
      const auto found = names.find(step.call->name);
      ASSERT_NE(found, names.end());
      const Id moved = found->second;
      names.erase(found);
      state.folders[step.newFolder][step.call->newName] = moved;
    }
  }
}

void PowerCutDisk::applyContents(State& state, const std::vector<Step>& steps, double share, std::mt19937& random) {
  for (const Step& step : steps) {
    const Call& call = *step.call;
    const auto arrives = [&] { return step.isDurable || happens(share, random); };
    if (call.kind == Kind::Resize && arrives()) state.files[step.file].resize(call.offset);
    if (call.kind == Kind::Punch && arrives()) punch(state.files[step.file], call.offset, call.size);
    if (call.kind != Kind::Write) continue;
    const ByteSpan bytes = call.bytes;
    for (std::size_t i = 0; i < bytes.size(); i += sector) {
      if (!arrives()) continue;
      writeInto(state.files[step.file], call.offset + i, bytes.subspan(i, std::min(sector, bytes.size() - i)));
    }
  }
}

void PowerCutDisk::put(const State& state, Id folder, const std::string& path) {
  fs::create_directory(path);
  for (const auto& [name, id] : state.folders.at(folder)) {
    const std::string place = path + "/" + name;
    if (state.folders.contains(id)) {
      put(state, id, place);
    } else {
      const auto found = state.files.find(id);
      writeSparse(place, found == state.files.end() ? ByteBuffer() : found->second);
    }
  }
}

void PowerCutDisk::leave(const std::vector<Call>& calls, std::size_t count, double share, std::mt19937& random,
                         const std::string& path) const {
  const std::vector<Step> steps = stepsOf(calls, count);
  State state = _begin;
  applyNames(state, steps, share, random);
  applyContents(state, steps, share, random);
  put(state, _root, path);
}

}  // namespace zpk::test
