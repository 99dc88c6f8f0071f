#pragma once

#include "platform/linux/wire/MaintenanceNames.h"
#include "tools/zpkctl/Maintenance.h"

namespace zpk::ctl {

// Over a connection of its own for each call, which waits a minute at the most.
class BusMaintenance final : public Maintenance {
 public:
  explicit BusMaintenance(bool sessionBus) : _sessionBus(sessionBus) {}

  Expected<std::uint32_t, std::string> verify() override;
  Expected<Dictionary, std::string> lastVerification() override;
  Expected<Dictionary, std::string> pointHealth() override;

 private:
  Expected<Dictionary, std::string> dictionaryFrom(MaintenanceMember which);

  const bool _sessionBus;
};

}  // namespace zpk::ctl
