// SPDX-License-Identifier: MIT
#include "Shared/QMException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tests/unit/shared/LoggedTest.h"

namespace qm::testing {
namespace {

using foundation::Exception;
using ::testing::ElementsAre;

// MARK: - What must not compile

template <class Method>
concept IsAMethodName = requires(Method method, const Exception* exception) {
  QMException::logException(exception, method);
};
static_assert(IsAMethodName<const char*> && IsAMethodName<std::string> && !IsAMethodName<std::nullptr_t>);
static_assert(std::is_constructible_v<Exception, const char*, const char*>);
static_assert(!std::is_constructible_v<Exception, std::nullptr_t>);
static_assert(!std::is_constructible_v<Exception, std::nullptr_t, const char*>);
static_assert(!std::is_constructible_v<Exception, const char*, std::nullptr_t>);
static_assert(std::is_nothrow_copy_constructible_v<Exception>, "an exception on its way up is copied");
static_assert(!std::is_default_constructible_v<QMException>, "its operations belong to the class");
static_assert(!std::is_copy_constructible_v<QMException> && !std::is_copy_assignable_v<QMException>);

// MARK: - The exception itself

TEST(AnException, HasANameAndAReasonThatReadersOfStandardExceptionsSee) {
  try {
    throw Exception("NSRangeException", "index 3 beyond bounds");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "index 3 beyond bounds");
    EXPECT_EQ(dynamic_cast<const Exception&>(caught).name(), "NSRangeException");
  }
}

TEST(AnException, MayHaveNoReason) {
  EXPECT_EQ(Exception("A").reason(), std::nullopt);
  EXPECT_STREQ(Exception("A").what(), "(null)");
  EXPECT_EQ(Exception("A", "").reason(), "");
  EXPECT_STREQ(Exception("A", "").what(), "");
}

TEST(AnException, IsTheSameWhenCopied) {
  const Exception first("A", "b");
  const Exception second = first;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(second.name(), "A");
  EXPECT_EQ(second.reason(), "b");
}

// MARK: - Time-outs

class DidTimeout : public PlatformTest {
 protected:
  static bool named(const std::string& name) {
    const Exception exception(name, "anything");
    return QMException::didTimeout(&exception);
  }
};

TEST_F(DidTimeout, IsTrueForExactlyTheNameOfAPortTimeout) { EXPECT_TRUE(named("NSPortTimeoutException")); }

TEST_F(DidTimeout, IsFalseForAnyOtherName) {
  for (const char* name :
       {"", "NSRangeException", "nsporttimeoutexception", "NSPortTimeOutException", "NSPortTimeoutException ",
        " NSPortTimeoutException", "NSPortTimeoutException2", "NSPortTimeoutExceptio"})
    EXPECT_FALSE(named(name)) << name;
  EXPECT_FALSE(named(std::string("NSPortTimeoutException\0", 23)));
}

TEST_F(DidTimeout, IsFalseForNilAndSaysNothing) {
  EXPECT_FALSE(QMException::didTimeout(nullptr));
  EXPECT_EQ(fakes.calls.callCount(), 0U);
}

// MARK: - Reports

class LogException : public LoggedTest {
 protected:
  static std::string report(const Exception& exception, const std::string& method = "removeItem") {
    return QMException::logException(&exception, method);
  }
};

TEST_F(LogException, AnswersLogsAndPrintsOneReport) {
  const std::string text = "Exception in removeItem. NSRangeException - index 3 beyond bounds.";
  EXPECT_EQ(report(Exception("NSRangeException", "index 3 beyond bounds")), text);
  EXPECT_THAT(logged(), ElementsAre(text));
  EXPECT_THAT(console(), ElementsAre(text));
}

TEST_F(LogException, LogsBeforeItPrints) {
  report(Exception("A", "b"));
  EXPECT_THAT(logged(), ElementsAre("Exception in removeItem. A - b."));
  EXPECT_TRUE(fakes.calls.areInOrder({"fileHandle.writeData", "console.print"}));
}

TEST_F(LogException, ReadsAPercentSignAsADirectiveInTheLogOnly) {
  const std::string text = "Exception in removeItem. A - 100%d and %%%% of %@.";
  EXPECT_EQ(report(Exception("A", "100%d and %%%% of %@")), text);
  EXPECT_THAT(console(), ElementsAre(text));
  EXPECT_THAT(logged(), ElementsAre("Exception in removeItem. A - 100(missing) and % of (missing)."));
}

TEST_F(LogException, PrintsEmptyTextsAsNothingAndNilAsNull) {
  EXPECT_EQ(report(Exception("", ""), ""), "Exception in .  - .");
  EXPECT_EQ(report(Exception("A")), "Exception in removeItem. A - (null).");
  EXPECT_EQ(QMException::logException(nullptr, "removeItem"), "Exception in removeItem. (null) - (null).");
  EXPECT_THAT(logged(), ElementsAre("Exception in .  - .", "Exception in removeItem. A - (null).",
                                    "Exception in removeItem. (null) - (null)."));
}

TEST_F(LogException, PrintsANilMethodAsNull) {
  const char* method = nullptr;
  EXPECT_EQ(QMException::logException(nullptr, method), "Exception in (null). (null) - (null).");
  EXPECT_EQ(QMException::logException(nullptr, std::nullopt), "Exception in (null). (null) - (null).");
}

TEST_F(LogException, ReportsToTheConsoleWhenThereIsNoLog) {
  fakes.disk.remove(kLog);
  const std::string text = "Exception in removeItem. A - b.";
  EXPECT_EQ(report(Exception("A", "b")), text);
  QMLog::finishWriting();
  EXPECT_THAT(console(),
              ElementsAre("Unable to log the following information: " + text, "Unable to open log for output", text));
  EXPECT_FALSE(fakes.disk.has(kLog));
}

TEST_F(LogException, AnswersTheReportWhateverCallFails) {
  const std::string text = report(Exception("A", "b"));
  QMLog::finishWriting();
  const std::size_t count = fakes.calls.callCount();
  ASSERT_GE(count, 3U);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    FakePlatform machine;
    const ScopedPlatform installed(machine.platform);
    const SingletonReset<QMLog> freshLog;
    machine.disk.addFile(kLog);
    machine.calls.failCallNumber(number);
    EXPECT_EQ(report(Exception("A", "b")), text);
    QMLog::finishWriting();
    EXPECT_EQ(machine.calls.failed().size(), 1U);
    machine.end();
  }
}

}  // namespace
}  // namespace qm::testing
