// The cost of the tool's one wait: a real PatienterSecondes(5) with the real
// clock, the window shown on the offscreen platform and its progress bar
// and percentage moving ten times a second, as during a download. Prints the
// processor time the wait took, as a share of one core, and how often the
// percentage was painted meanwhile; fails above 2% of a core or when the window stopped painting.
#include <sys/resource.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QTimer>
#include <cstdio>

#include "base/System.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"

namespace {

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

class PaintCounter : public QObject {
 public:
  int paints = 0;

 protected:
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++paints;
    return false;
  }
};

}  // namespace

int main(int argc, char** argv) {
  using namespace velmaris;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  System::SetArguments({"VelmarisMAJ", "--REPAPP:/Applications/Velmaris.app", "--MAJ:2.1.0"});
  _RuntimeRegisterAppObject(std::make_shared<VelmarisMAJ>());

  class FenetreTelechargement& window = FenetreTelechargement();
  // The dispatcher is not what is measured.
  window.TimerQuit().SetMode(0);
  window.LabelDownload().SetHeadlessEcho(false);
  window.ProgressBarDonwload().SetVisible(true);
  window.LabelDownload().SetVisible(true);
  PaintCounter counter;
  window.LabelDownload().installEventFilter(&counter);
  QTimer progress;
  QObject::connect(&progress, &QTimer::timeout, [&window] {
    const int64_t percent = (window.ProgressBarDonwload().Value() + 1) % 101;
    window.ProgressBarDonwload().SetValue(percent);
    window.LabelDownload().SetText(std::to_string(percent) + "%");
  });
  progress.start(100);
  QApplication::processEvents();

  constexpr int64_t kSeconds = 5;
  QElapsedTimer elapsed;
  elapsed.start();
  const double before = ProcessorSeconds();
  App().PatienterSecondes(kSeconds);
  const double processor = ProcessorSeconds() - before;
  const double wall = static_cast<double>(elapsed.nsecsElapsed()) / 1e9;
  const double share = 100.0 * processor / wall;

  std::printf(
      "PatienterSecondes(%lld): %.3f s elapsed, %.3f s of processor time: %.2f%% of a core; "
      "the percentage painted %d times\n",
      static_cast<long long>(kSeconds), wall, processor, share, counter.paints);
  _ReleaseFenetreTelechargement();
  _RuntimeRegisterAppObject(nullptr);
  const bool fast = share < 2.0;
  const bool painting = counter.paints >= 10 * kSeconds / 2;
  return fast && painting ? 0 : 1;
}
