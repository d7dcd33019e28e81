// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/FurtherStarts.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QMessageBox>
#include <QTest>
#include <future>
#include <string>

#include "Uninstaller/qt/QtUserInterface.h"
#include "tests/frontend/QtFixture.h"

namespace qm::testing {
namespace {

using namespace std::chrono_literals;
using linux_::SingleInstance;
using Start = SingleInstance::Start;

class FurtherStarts : public QtFixture {
 protected:
  FurtherStarts() : program_("test." + std::to_string(::getpid())), instance_(program_) {
    EXPECT_EQ(instance_.start(0s), Start::First);
    furtherStarts_ = std::make_unique<qt::FurtherStarts>(instance_);
    for (auto* const window : {&window_, &cover_}) {
      window->resize(200, 100);
      window->show();
    }
    EXPECT_TRUE(QTest::qWaitForWindowActive(&cover_));
  }

  std::future<Start> startAgain() const {
    return std::async(std::launch::async, [this] { return SingleInstance(program_).start(10s); });
  }
  /// Handles events until the other start has its answer.
  static Start serve(std::future<Start> other) {
    while (other.wait_for(0s) != std::future_status::ready) QTest::qWait(1);
    return other.get();
  }

  QWidget window_;
  QWidget cover_;

 private:
  const std::string program_;
  SingleInstance instance_;
  std::unique_ptr<qt::FurtherStarts> furtherStarts_;
};

TEST_F(FurtherStarts, BringTheShownWindowToTheFront) {
  cover_.hide();
  window_.showMinimized();
  EXPECT_EQ(serve(startAgain()), Start::Answered);
  EXPECT_FALSE(window_.isMinimized());
  EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
  EXPECT_FALSE(cover_.isVisible());
}

TEST_F(FurtherStarts, BringAnAlertToTheFrontRatherThanWhatIsBehindIt) {
  mainThread->perform([&] {
    auto* const alert = QApplication::activeModalWidget();
    ASSERT_NE(alert, nullptr);
    alert->showMinimized();
    EXPECT_EQ(serve(startAgain()), Start::Answered);
    EXPECT_FALSE(alert->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(alert));
    alert->close();
  });
  qt::QtUserInterface(*mainThread).runAlertPanel("t", "m", "");
}

TEST_F(FurtherStarts, PassOverWhatIsNoWindowOfItsOwn) {
  cover_.hide();
  QWidget hint(nullptr, Qt::ToolTip);
  hint.show();
  window_.showMinimized();
  EXPECT_EQ(serve(startAgain()), Start::Answered);
  EXPECT_FALSE(window_.isMinimized());
}

TEST_F(FurtherStarts, AreAnsweredWithoutAWindowToShow) {
  window_.hide();
  cover_.hide();
  EXPECT_EQ(serve(startAgain()), Start::Answered);
}

TEST_F(FurtherStarts, WaitQuietlyUntilThereAreMeansToServeThem) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  auto other = startAgain();
  ASSERT_EQ(other.wait_for(50ms), std::future_status::timeout);  // it waits for an answer
  const int next = ::dup(0);
  ::close(next);
  const rlimit none{.rlim_cur = static_cast<rlim_t>(next), .rlim_max = limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  int wakings = 0;
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, [&] { ++wakings; });
  QTest::qWait(200);
  EXPECT_LE(wakings, 200);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(serve(std::move(other)), Start::Answered);
}

TEST(FurtherStartsOfAnInstanceThatDoesNotListen, AreNotWaitedFor) {
  const SingleInstance deaf("test");
  const qt::FurtherStarts none(deaf);
  EXPECT_FALSE(deaf.requests());
}

}  // namespace
}  // namespace qm::testing
