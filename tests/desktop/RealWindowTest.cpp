// The real binary in a real window. Each run has an X server of its own
// (Xvfb, no window manager), which the test reads through xcb: where the
// window is mapped, its title, which window has the input focus, and its
// pixels. Keys and clicks come from xdotool, as a person's would. The runs
// wait for real, so they go side by side; a picture of each look lands in
// the build folder as xvfb-<look>.png.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <QTranslator>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/Translations.h"
#include "support/Sandbox.h"
#include "support/TestServer.h"
#include "support/TestWindow.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

template <typename Reply>
std::unique_ptr<Reply, void (*)(void*)> Own(Reply* reply) {
  return {reply, std::free};
}

// Xvfb on a display that it picks itself, one screen of an odd width.
class XServer {
 public:
  static constexpr int kWidth = 1281;

  XServer() {
    mXvfb.start("Xvfb",
                {"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", QStringLiteral("%1x800x24").arg(kWidth)});
    // The display's number comes once the server takes connections.
    if (!mXvfb.waitForReadyRead(10000)) return;
    mDisplay = ":" + mXvfb.readAllStandardOutput().trimmed().toStdString();
    mConnection = xcb_connect(mDisplay.c_str(), nullptr);
    if (xcb_connection_has_error(mConnection) == 0)
      mRoot = xcb_setup_roots_iterator(xcb_get_setup(mConnection)).data->root;
  }
  ~XServer() {
    if (mConnection != nullptr) xcb_disconnect(mConnection);
    mXvfb.terminate();
    mXvfb.waitForFinished(5000);
  }

  bool Started() const { return mRoot != 0; }
  std::string Failure() const { return mXvfb.errorString().toStdString(); }
  const std::string& Display() const { return mDisplay; }

  // The mapped top-level windows, the topmost last, behind the tool's own
  // window (0 while it isn't mapped): the first that is neither a pop-up nor
  // a dialog, which Qt makes transient for the window below it that it covers.
  std::vector<xcb_window_t> Mapped() const {
    std::vector<xcb_window_t> windows = {0};
    const auto tree = Own(xcb_query_tree_reply(mConnection, xcb_query_tree(mConnection, mRoot), nullptr));
    for (int index = 0; index < xcb_query_tree_children_length(tree.get()); ++index) {
      const xcb_window_t child = xcb_query_tree_children(tree.get())[index];
      const auto attributes =
          Own(xcb_get_window_attributes_reply(mConnection, xcb_get_window_attributes(mConnection, child), nullptr));
      if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
      const std::string parent = Property(child, "WM_TRANSIENT_FOR");
      const bool covers = std::any_of(windows.begin() + 1, windows.end(), [&](xcb_window_t below) {
        return parent == std::string(reinterpret_cast<const char*>(&below), sizeof below);
      });
      if (windows[0] == 0 && !attributes->override_redirect && !covers) windows[0] = child;
      windows.push_back(child);
    }
    return windows;
  }
  QRect Place(xcb_window_t window) const {
    const auto geometry = Own(xcb_get_geometry_reply(mConnection, xcb_get_geometry(mConnection, window), nullptr));
    return geometry ? QRect(geometry->x, geometry->y, geometry->width, geometry->height) : QRect();
  }
  std::string Title(xcb_window_t window) const { return Property(window, "_NET_WM_NAME"); }
  xcb_window_t Focus() const {
    return Own(xcb_get_input_focus_reply(mConnection, xcb_get_input_focus(mConnection), nullptr))->focus;
  }
  // What the screen shows there.
  QImage Picture(const QRect& place) const {
    const auto image = Own(xcb_get_image_reply(
        mConnection,
        xcb_get_image(mConnection, XCB_IMAGE_FORMAT_Z_PIXMAP, mRoot, static_cast<int16_t>(place.x()),
                      static_cast<int16_t>(place.y()), static_cast<uint16_t>(place.width()),
                      static_cast<uint16_t>(place.height()), ~0U),
        nullptr));
    if (!image) return {};
    return QImage(xcb_get_image_data(image.get()), place.width(), place.height(), QImage::Format_RGB32).copy();
  }
  // What a window manager sends when the user closes the window.
  void Close(xcb_window_t window) const {
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = Atom("WM_PROTOCOLS");
    event.data.data32[0] = Atom("WM_DELETE_WINDOW");
    event.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(mConnection, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(mConnection);
  }
  void XDoTool(const QStringList& arguments) const {
    const QStringList command = QStringList{"DISPLAY=" + QString::fromStdString(mDisplay), "xdotool"} + arguments;
    EXPECT_EQ(QProcess::execute("env", command), 0) << arguments.join(' ').toStdString();
  }

 private:
  xcb_atom_t Atom(const char* name) const {
    const auto atom = Own(xcb_intern_atom_reply(
        mConnection, xcb_intern_atom(mConnection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
    return atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
  }
  std::string Property(xcb_window_t window, const char* name) const {
    const auto property = Own(xcb_get_property_reply(
        mConnection, xcb_get_property(mConnection, 0, window, Atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
        nullptr));
    if (!property) return {};
    return {static_cast<const char*>(xcb_get_property_value(property.get())),
            static_cast<size_t>(xcb_get_property_value_length(property.get()))};
  }

  QProcess mXvfb;
  std::string mDisplay;
  xcb_connection_t* mConnection = nullptr;
  xcb_window_t mRoot = 0;
};

// The content area as the offscreen platform draws it, for the job beside
// REPAPP, in French or English.
QImage Content(const std::string& job, bool french) {
  const std::unique_ptr<QTranslator> translator = LoadTranslation(QLocale(QStringLiteral("fr")));
  if (french) QCoreApplication::installTranslator(translator.get());
  testing::TestWindow window({"VelmarisMAJ", "--REPAPP:/Applications/Velmaris.app", job});
  window->TimerQuit().SetMode(0);
  QImage content = window->Content()->grab().toImage().convertToFormat(QImage::Format_RGB32);
  QCoreApplication::removeTranslator(translator.get());
  return content;
}

// The tool's windows as the screen shows them, in the build folder.
void SavePicture(const XServer& x, const std::string& look) {
  const std::vector<xcb_window_t> windows = x.Mapped();
  QRect all;
  for (size_t index = 1; index < windows.size(); ++index) all |= x.Place(windows[index]);
  x.Picture(all).save(QString::fromStdString(std::string(VELMARIS_BUILD_DIR) + "/xvfb-" + look + ".png"));
}

// The roads by which a person ends the run.
enum class End { Dialog, Menu, Shortcut, WindowManager };

TEST(RealWindow, OpensInFrontWhereDescribedShowsEachJobAndEveryWayOfEndingEndsTheRun) {
  for (const char* program : {"Xvfb", "xdotool"}) {
    if (QStandardPaths::findExecutable(program).isEmpty()) GTEST_SKIP() << program << " is not installed";
  }
  struct Row {
    const char* look;
    std::string job = "";       // the argument beside REPAPP; none for the no-job road
    std::string response = "";  // the server's, which then stalls
    bool french = false;        // LANG
    std::pair<std::string, std::string> titles = {"Velmaris Update", "Velmaris Update"};  // at opening, in the look
    End end;
    XServer x = {};
    testing::TestServer server = {};
    testing::ToolRun run = {};
  } rows[] = {
      // The database job's look lasts two seconds, from its title on: it goes first.
      {.look = "restoring",
       .job = "--SAUVEDB:BackupsDB/backup.sqlite",
       .titles = {"Velmaris Update", "Restore database..."},
       .end = End::WindowManager},
      {.look = "no-job", .end = End::Dialog},
      {.look = "downloading",
       .job = "--MAJ:2.0.0",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 100000\r\n\r\n" + std::string(57000, 'z'),
       .end = End::Menu},
      {.look = "amount",
       .job = "--MAJ:2.0.0",
       .response = "HTTP/1.0 200 OK\r\n\r\n" + std::string(270000, 'z'),
       .french = true,
       .titles = {"Mise à jour de Velmaris", "Mise à jour de Velmaris"},
       .end = End::Shortcut},
  };
  for (Row& row : rows) {
    if (!row.x.Started()) GTEST_SKIP() << "Xvfb could not start: " << row.x.Failure();
    std::vector<std::string> arguments;
    if (!row.job.empty()) arguments = {"--REPAPP:" + row.run.At("/Applications/Velmaris.app"), row.job};
    testing::MakeApplication(row.run.At("/Applications/Velmaris.app"), "1");
    row.server.Serve({{testing::TestServer::ReadRequest(), testing::TestServer::Send(row.response)}});
    row.run.Start(arguments, {{"DISPLAY", row.x.Display()},
                              {"LANG", row.french ? "fr_FR.UTF-8" : "en_GB.UTF-8"},
                              {"VELMARIS_UPDATE_HOST", "127.0.0.1:" + std::to_string(row.server.Port())}});
  }

  // Opening: centred on the screen, 140 pixels below its top, the menu bar
  // above a content area that shows what the offscreen platform draws.
  for (Row& row : rows) {
    SCOPED_TRACE(row.look);
    const XServer& x = row.x;
    ASSERT_TRUE(testing::WaitUntil([&x] { return x.Mapped()[0] != 0; }));
    const xcb_window_t window = x.Mapped()[0];
    const QRect place = x.Place(window);
    EXPECT_EQ(place.topLeft(), QPoint((XServer::kWidth - 420) / 2, 140));
    EXPECT_EQ(place.width(), 420);
    EXPECT_GT(place.height(), 95 + 10) << "no menu bar";
    EXPECT_EQ(x.Title(window), row.titles.first);
    if (row.end == End::Dialog) continue;  // the dialog may be in front of it
    const QRect content(place.left(), place.bottom() + 1 - 95, 420, 95);
    const QImage expected = Content(row.job, row.french);
    EXPECT_TRUE(testing::WaitUntil([&] { return x.Picture(content) == expected; }, 2000));
  }

  for (Row& row : rows) {
    SCOPED_TRACE(row.look);
    const XServer& x = row.x;
    ASSERT_TRUE(testing::WaitUntil([&] {
      return x.Title(x.Mapped()[0]) == row.titles.second && x.Mapped().size() == (row.end == End::Dialog ? 3U : 2U) &&
             (row.response.empty() || !row.server.Received().empty());
    }));
    QThread::msleep(500);  // for the response, and the last paint to reach the screen
    // The tool is in front: its window has the keyboard, or its dialog.
    const xcb_window_t window = x.Mapped()[0];
    EXPECT_EQ(x.Focus(), x.Mapped().back());
    SavePicture(x, row.look);
    if (row.end == End::Dialog) {
      // The reason and the log's place lie behind "Show Details...": the box grows to show them.
      const int height = x.Place(x.Mapped().back()).height();
      x.XDoTool({"key", "Tab", "space"});
      EXPECT_TRUE(testing::WaitUntil([&] { return x.Place(x.Mapped().back()).height() > height + 40; }));
      SavePicture(x, "details");
      x.XDoTool({"key", "shift+Tab"});
    }
    if (row.end == End::Dialog || row.end == End::Shortcut) {
      x.XDoTool({"key", row.end == End::Dialog ? "Return" : "ctrl+q"});
    } else if (row.end == End::WindowManager) {
      x.Close(window);
    } else {
      x.XDoTool({"mousemove", "--window", QString::number(window), "16", "8", "click", "1"});
      ASSERT_TRUE(testing::WaitUntil([&] { return x.Mapped().size() == 3; }));
      SavePicture(x, "menu");
      // File holds one item, Quit.
      const QPoint quit = x.Place(x.Mapped().back()).center();
      x.XDoTool({"mousemove", QString::number(quit.x()), QString::number(quit.y()), "click", "1"});
    }
    EXPECT_EQ(row.run.Finish(), "");
    EXPECT_TRUE(!fs::exists(row.run.At("/home/Downloads")) || fs::is_empty(row.run.At("/home/Downloads")));
    // Ended during a job, the tool re-opens the application.
    EXPECT_EQ(row.run.Opened(!row.job.empty()), row.job.empty() ? "" : "opened 1\n");
  }
}

}  // namespace
}  // namespace velmaris
