#include "mount/OpenMountedVolumes.h"

#include "mount/VolumesWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(OpenMountedVolumes, OpensWhatIsMountedAlreadyWithoutWaiting) {
  VolumesWorld world;
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  world.mount("/dev/disk4s1", "/Volumes/EFI");
  world.mount("/dev/disk0s2", "/");
  openMountedVolumes({"/dev/disk4s1", "/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/WINDOWS", "/Volumes/EFI"));
  EXPECT_EQ(world.table.looks, 1);
  EXPECT_THAT(world.sleeps, IsEmpty());
}

TEST(OpenMountedVolumes, OpensAVolumeThatIsMountedLaterWhenItIs) {
  VolumesWorld world;
  world.mount("/dev/disk4s1", "/Volumes/EFI");
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS", 4);
  openMountedVolumes({"/dev/disk4s1", "/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/EFI", "/Volumes/WINDOWS"));
  EXPECT_EQ(world.table.looks, 4);
  EXPECT_THAT(world.sleeps, ElementsAre(Seconds(2), Seconds(2), Seconds(2)));
}

TEST(OpenMountedVolumes, GivesUpAfterTenPassesEachFollowedByItsPause) {
  VolumesWorld world;
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS", 11);
  openMountedVolumes({"/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, IsEmpty());
  EXPECT_EQ(world.table.looks, 10);
  EXPECT_EQ(world.sleeps, std::vector<Seconds>(10, Seconds(2)));
}

TEST(OpenMountedVolumes, TheTenthPassStillCounts) {
  VolumesWorld world;
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS", 10);
  openMountedVolumes({"/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
  EXPECT_EQ(world.sleeps.size(), 9U);
}

TEST(OpenMountedVolumes, DoesNothingWithoutDevices) {
  VolumesWorld world;
  openMountedVolumes({}, world.environment());
  EXPECT_EQ(world.table.looks, 0);
  EXPECT_THAT(world.sleeps, IsEmpty());
}

TEST(OpenMountedVolumes, ADeviceThatIsMountedTwiceIsOpenedOnce) {
  VolumesWorld world;
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  world.mount("/dev/disk4s2", "/mnt");
  openMountedVolumes({"/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
}

TEST(OpenMountedVolumes, AVolumeThatCannotBeOpenedIsNotTriedAgain) {
  VolumesWorld world;
  world.workspace.works = false;
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  openMountedVolumes({"/dev/disk4s2"}, world.environment());
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
  EXPECT_THAT(world.sleeps, IsEmpty());
}

TEST(OpenMountedVolumes, StopsWaitingWhenTheProgramEnds) {
  VolumesWorld world;
  world.endsAfterSleeps = 3;
  openMountedVolumes({"/dev/disk4s2"}, world.environment());
  EXPECT_EQ(world.table.looks, 3);
}

TEST(OpenMountedVolumes, AsksTheWorkspaceOnTheMainQueue) {
  VolumesWorld world;
  std::vector<std::function<void()>> later;
  struct Keeping final : DispatchQueue {
    explicit Keeping(std::vector<std::function<void()>>& works) : kept(works) {}
    void async(std::function<void()> work) override { kept.push_back(std::move(work)); }
    std::vector<std::function<void()>>& kept;
  } mainQueue(later);
  world.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  const auto environment = world.environment();
  openMountedVolumes({"/dev/disk4s2"},
                     {environment.mountTable, environment.workspace, mainQueue, environment.sleep});
  EXPECT_THAT(world.workspace.opened, IsEmpty());
  ASSERT_EQ(later.size(), 1U);
  later.front()();
  EXPECT_THAT(world.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
}

}  // namespace
}  // namespace zpk
