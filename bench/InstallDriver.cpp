// One replacement of an installed application by the copy on a volume, in
// one of two orders, with the commands the update job runs:
//   remove-then-copy: rm -rf APP; ditto -rsrc SOURCE APP
//   swap:             ditto -rsrc SOURCE .APP.incoming; the two names
//                     exchanged in one step; rm -rf .APP.outgoing
// Prints "seconds: S" for the whole replacement. With --watch, a second
// thread meanwhile counts the files at APP without pause and also prints
// "looks: N incomplete: K gap: G", where an incomplete look is one that
// found fewer than FILES files and G the seconds from the first such look
// to the next complete one, summed.
#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

#include "base/FolderItem.h"
#include "base/Shell.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::string Quoted(const std::string& path) { return "\"" + path + "\""; }

long CountFiles(const fs::path& folder) {
  std::error_code error;
  long count = 0;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->is_regular_file(error)) ++count;
  }
  return count;
}

struct Watch {
  long looks = 0, incomplete = 0;
  double gap = 0;
};

void WatchApplication(const fs::path& application, long files, const std::atomic<bool>& done, Watch& watch) {
  bool missing = false;
  Clock::time_point since;
  while (!done.load()) {
    const bool complete = CountFiles(application) == files;
    const Clock::time_point now = Clock::now();
    ++watch.looks;
    if (!complete) ++watch.incomplete;
    if (!complete && !missing) since = now;
    if (complete && missing) watch.gap += std::chrono::duration<double>(now - since).count();
    missing = !complete;
  }
  if (missing) watch.gap += std::chrono::duration<double>(Clock::now() - since).count();
}

bool Replace(bool swap, const std::string& source, const velmaris::Ref<velmaris::FolderItem>& application) {
  velmaris::Shell sh;
  if (!swap) {
    sh.Execute("rm -rf " + Quoted(application->NativePath()));
    sh.Execute("ditto -rsrc " + Quoted(source) + " " + Quoted(application->NativePath()));
    return sh.ErrorCode() == 0;
  }
  const auto incoming = application->Parent()->Child("." + application->Name() + ".incoming");
  const auto outgoing = application->Parent()->Child("." + application->Name() + ".outgoing");
  sh.Execute("ditto -rsrc " + Quoted(source) + " " + Quoted(incoming->NativePath()));
  if (sh.ErrorCode() != 0) return false;
  incoming->ExchangeWith(application);
  if (incoming->LastErrorCode() != 0) return false;
  incoming->MoveFileTo(outgoing);
  sh.Execute("rm -rf " + Quoted(outgoing->NativePath()));
  return sh.ErrorCode() == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bool watched = argc == 6 && std::string_view(argv[5]) == "--watch";
  const std::string_view order = argc > 1 ? argv[1] : "";
  if ((argc != 5 && !watched) || (order != "swap" && order != "remove-then-copy")) {
    std::fprintf(stderr, "usage: %s swap|remove-then-copy SOURCE APP FILES [--watch]\n", argv[0]);
    return 2;
  }
  const QCoreApplication application(argc, argv);
  const auto installed = velmaris::New<velmaris::FolderItem>(argv[3], velmaris::FolderItem::PathModes::Shell);
  std::atomic<bool> done = false;
  Watch watch;
  std::thread watcher;
  if (watched)
    watcher = std::thread(WatchApplication, fs::path(argv[3]), std::stol(argv[4]), std::cref(done), std::ref(watch));

  const Clock::time_point start = Clock::now();
  const bool replaced = Replace(order == "swap", argv[2], installed);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  done = true;
  if (watcher.joinable()) watcher.join();
  if (!replaced) {
    std::fprintf(stderr, "install_driver: the replacement failed\n");
    return 1;
  }
  std::printf("seconds: %.3f\n", seconds);
  if (watched) std::printf("looks: %ld incomplete: %ld gap: %.3f\n", watch.looks, watch.incomplete, watch.gap);
  return 0;
}
