#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helper/service/model/HelperModel.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/RLDPartition.h"
#include "records/TMBGUID.h"
#include "records/ZPKDisk.h"

namespace zpk::test {

// Work that waits until the test lets it run.
class ManualQueue final : public DispatchQueue {
 public:
  void async(std::function<void()> work) override {
    if (runsAtOnce) return work();
    _work.push_back(std::move(work));
  }
  bool runOne() {
    if (_work.empty()) return false;
    const auto work = std::move(_work.front());
    _work.pop_front();
    work();
    return true;
  }
  std::size_t size() const { return _work.size(); }

  bool runsAtOnce = false;

 private:
  std::deque<std::function<void()>> _work;
};

// Time that passes when the test says so.
class VirtualClock final : public LoopClock {
 public:
  Seconds now() const override { return _now; }
  Date date() const override { return Date{secondsSince1970}; }
  std::string timeOfDay() const override { return "12:00:00"; }
  Token after(Seconds delay, std::function<void()> alarm) override {
    const auto key = std::pair(_now + delay, _lastId++);
    _alarms.emplace(key, std::move(alarm));
    return Token([this, key] { _alarms.erase(key); });
  }
  void advance(Seconds time) {
    const Seconds end = _now + time;
    while (!_alarms.empty() && _alarms.begin()->first.first <= end) {
      auto node = _alarms.extract(_alarms.begin());
      _now = node.key().first;
      node.mapped()();
    }
    _now = end;
  }

  double secondsSince1970 = 1'700'000'000;

 private:
  Seconds _now{100};
  int _lastId = 0;
  std::map<std::pair<Seconds, int>, std::function<void()>> _alarms;
};

inline const std::string kWindowsDisk = "11111111-2222-3333-4444-555555555555";
inline const std::string kOtherDisk = "aaaaaaaa-2222-3333-4444-555555555555";
inline const std::string kMacDisk = "bbbbbbbb-2222-3333-4444-555555555555";  // A restore target without Windows.

inline TMBGUID guidOf(const std::string& text) {
  const auto part = [&](std::size_t from, std::size_t length) {
    return std::stoull(text.substr(from, length), nullptr, 16);
  };
  std::array<std::uint8_t, 8> data4{};
  const std::array<std::size_t, 8> places{19, 21, 24, 26, 28, 30, 32, 34};
  for (std::size_t i = 0; i < 8; ++i) data4[i] = static_cast<std::uint8_t>(part(places[i], 2));
  return TMBGUID(static_cast<std::uint32_t>(part(0, 8)), static_cast<std::uint16_t>(part(9, 4)),
                 static_cast<std::uint16_t>(part(14, 4)), data4);
}

inline std::shared_ptr<const ZPKDisk> makeDisk(const std::string& id, std::uint32_t number,
                                               const std::vector<TMBGPTType>& types,
                                               const std::optional<std::string>& windowsMount = std::nullopt) {
  RecordList<RLDPartition> partitions;
  for (const TMBGPTType type : types) {
    RLDPartition::Fields fields;
    fields.partType = 1;
    fields.partNumber = static_cast<std::uint32_t>(partitions.size() + 1);
    fields.gptTypeGUID = TMBGUID::GUIDWithGPTType(type);
    if (type == TMBGPTType::MicrosoftBasicData) fields.mountPoint = windowsMount;
    partitions.push_back(std::make_shared<const RLDPartition>(std::move(fields)));
  }
  RLDDisk::Fields fields;
  fields.diskNumber = number;
  fields.name = "Disk " + std::to_string(number);
  fields.gptID = guidOf(id);
  fields.partitions = std::move(partitions);
  fields.partitioningSchemes = 2;
  return ZPKDisk::diskWithDisk(RLDDisk(std::move(fields)));
}

inline std::shared_ptr<const ZPKDisk> windowsDisk(const std::string& id = kWindowsDisk, std::uint32_t number = 1,
                                                  const std::optional<std::string>& mount = std::nullopt) {
  return makeDisk(id, number, {TMBGPTType::EFISystem, TMBGPTType::MicrosoftBasicData}, mount);
}
inline std::shared_ptr<const ZPKDisk> macDisk(std::uint32_t number = 3) {
  return makeDisk(kMacDisk, number, {TMBGPTType::EFISystem, TMBGPTType::AppleHFSPlus});
}

inline std::string pointIndexPath(std::size_t point) {
  return "/backups/Windows.rldbackup/p" + std::to_string(point) + "/index.json";
}

inline PresentArchive archiveWith(std::size_t points, const std::string& source = kWindowsDisk,
                                  bool pinned = false) {
  RecordList<RLDArchiveItem> items;
  for (std::size_t i = 0; i < points; ++i) {
    RLDArchiveItem::Fields fields;
    fields.arcIndex = static_cast<std::uint32_t>(i);
    fields.isPinned = pinned;
    fields.indexFilePath = pointIndexPath(i);
    items.push_back(std::make_shared<const RLDArchiveItem>(std::move(fields)));
  }
  RLDArchive::Fields fields;
  fields.items = std::move(items);
  return {std::make_shared<const RLDArchive>(std::move(fields)), source};
}

// Everything a model needs, under the test's hand. Nothing moves but by `settle` and `advance`.
class HelperWorld : public DiskCatalog, public ArchiveKeeper, public SettingsStore, public Log {
 public:
  using BackupBody = std::function<OperationOutcome(const BackupOrder&, OperationBoard&, const CancelFlag&)>;

  Disks scan() override {
    ++scans;
    return disks;
  }
  ArchiveView look(const std::string& path, ArchiveUser user) override {
    lookers.push_back(user);
    const auto found = archives.find(path);
    return found == archives.end() ? ArchiveView(NoArchiveFolder{}) : found->second;
  }
  OperationOutcome backup(const BackupOrder& request, OperationBoard& board, const CancelFlag& cancel) override {
    requests.push_back(request);
    return body(request, board, cancel);
  }
  // For the body of a backup: its point exists.
  void tellOfPoint(const BackupOrder& order, const std::optional<std::string>& remark = std::nullopt) {
    loop.runsAtOnce = true;
    order.pointExists(remark);
    loop.runsAtOnce = false;
  }
  // For the body of a restore: whether it may write.
  bool mayWrite() {
    loop.runsAtOnce = true;
    const bool may = restores.back().mayWrite();
    loop.runsAtOnce = false;
    return may;
  }
  std::string deviceOf(const ZPKDisk& disk) override { return "device " + std::to_string(disk.diskNumber()); }
  OperationOutcome merge(const PointReference& point, OperationBoard& board, const CancelFlag& cancel) override {
    merges.push_back(point);
    return mergeBody ? mergeBody(board, cancel) : OperationDone{};
  }
  OperationOutcome restore(const RestoreOrder& order, OperationBoard& board, const CancelFlag& cancel) override {
    restores.push_back(order);
    return restoreBody ? restoreBody(board, cancel) : OperationDone{};
  }
  VerificationReport verify(const std::string&, ArchiveUser, OperationBoard& board,
                            const CancelFlag& cancel) override {
    return verifyBody ? verifyBody(board, cancel) : VerificationReport{OperationDone{}, {}, true};
  }
  Expected<Done, std::string> pin(const PinOrder& order, const CancelFlag& cancel) override {
    pins.push_back(order);
    if (onPin) onPin(order, cancel);
    return pinResult;
  }
  Expected<Done, FileError> save(const HelperSettings& settings) override {
    if (saveFails) return FileError{"/state/settings.json", "No space left on device"};
    saved.push_back(settings);
    return Done{};
  }
  void line(std::string_view text) override { lines.emplace_back(text); }

  HelperModel& start(HelperSettings settings = {}) {
    model = std::make_unique<HelperModel>(
        HelperParts{*this, *this, *this, worker, loop, clock, *this}, std::move(settings),
        [this](HelperModel::Weight weight) {
          announced.push_back({model->facts().stateTime, weight, statusOf(model->facts())});
        });
    model->start([this] { ++readyCalls; });
    return *model;
  }
  // A model that has read the world, with source and archive chosen.
  HelperModel& startConfigured() {
    HelperSettings settings;
    settings.source = kWindowsDisk;
    settings.archivePath = kArchive;
    start(settings);
    settle();
    announced.clear();
    return *model;
  }
  // Lets worker and loop finish all they have.
  void settle() {
    while (worker.runOne() || loop.runOne()) {
    }
  }
  Dictionary status() const { return statusOf(model->facts()); }
  HelperState state() const { return statuskey::state.read(status()); }

  HelperModel::Answer into(std::optional<ResultCode>& code) {
    return [&code](ResultCode answer) { code = answer; };
  }
  std::optional<ResultCode> backupCode() {
    std::optional<ResultCode> code;
    model->backup(into(code));
    settle();
    return code;
  }

  struct Announced {
    std::int64_t stateTime;
    HelperModel::Weight weight;
    Dictionary status;
  };

  static inline const std::string kArchive = "/backups/Windows.rldbackup";

  Disks disks{windowsDisk(), windowsDisk(kOtherDisk, 2), macDisk()};
  std::map<std::string, ArchiveView> archives{{kArchive, NoArchiveYet{}}};
  BackupBody body = [](const BackupOrder&, OperationBoard&, const CancelFlag&) { return OperationDone{}; };
  std::function<void(const PinOrder&, const CancelFlag&)> onPin;
  std::function<OperationOutcome(OperationBoard&, const CancelFlag&)> mergeBody;
  std::function<OperationOutcome(OperationBoard&, const CancelFlag&)> restoreBody;
  std::function<VerificationReport(OperationBoard&, const CancelFlag&)> verifyBody;
  Expected<Done, std::string> pinResult{Done{}};
  bool saveFails = false;

  int scans = 0;
  int readyCalls = 0;
  std::vector<ArchiveUser> lookers;
  std::vector<BackupOrder> requests;
  std::vector<PinOrder> pins;
  std::vector<PointReference> merges;
  std::vector<RestoreOrder> restores;
  std::vector<HelperSettings> saved;
  std::vector<std::string> lines;
  std::vector<Announced> announced;

  ManualQueue worker;
  ManualQueue loop;
  VirtualClock clock;
  std::unique_ptr<HelperModel> model;
};

}  // namespace zpk::test
