#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/hilog/hilog_host.h"
#include "utils/delay_task_runner.h"
#include "utils/qz_log.h"
#include "utils/string_utils.h"
#include "utils/time_utils.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util {
namespace {

using OHOS::HiviewDFX::Host::HiLogHost;
using OHOS::HiviewDFX::Host::LogCapture;

const auto LOG_TAG = QzLog::Tag::Create("util");

// Counts down and lets a test wait for it with a generous bound (never a timing assertion).
class Latch {
public:
    explicit Latch(int count) : count_(count) {}
    void CountDown()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (--count_ <= 0) {
            cv_.notify_all();
        }
    }
    bool Wait()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, std::chrono::seconds(10), [this] { return count_ <= 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    int count_;
};

TEST(DelayTaskRunnerTest, OnlyTheLatestOfManyConcurrentRunsExecutes)
{
    DelayTaskRunner runner;
    std::atomic<int> runs{0};
    std::atomic<int> lastValue{-1};
    Latch done(1);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                runner.Run(
                    [&, t] {
                        lastValue = t;
                        ++runs;
                    },
                    200);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    runner.Run(
        [&] {
            lastValue = 99;
            ++runs;
            done.CountDown();
        },
        1);
    ASSERT_TRUE(done.Wait());
    EXPECT_EQ(runs.load(), 1);
    EXPECT_EQ(lastValue.load(), 99);
    EXPECT_FALSE(runner.HasPendingTask());
}

TEST(DelayTaskRunnerTest, TaskMayRescheduleItselfAndDestructorCancelsPending)
{
    std::atomic<int> runs{0};
    Latch twice(2);
    auto runner = std::make_unique<DelayTaskRunner>();
    std::function<void()> task = [&] {
        ++runs;
        twice.CountDown();
        if (runs < 2) {
            runner->Run(task, 1);  // called from inside the running task
        }
    };
    runner->Run(task, 1);
    ASSERT_TRUE(twice.Wait());

    // A long delay pending at destruction never runs, and the destructor does not wait for it.
    std::atomic<bool> ran{false};
    runner->Run([&] { ran = true; }, 60000);
    EXPECT_TRUE(runner->HasPendingTask());
    runner.reset();
    EXPECT_FALSE(ran.load());
    EXPECT_EQ(runs.load(), 2);
}

TEST(DelayTaskRunnerTest, RunnerDestroyedByItsOwnTaskEndsCleanly)
{
    auto* runner = new DelayTaskRunner();
    Latch done(1);
    runner->Run(
        [&] {
            delete runner;
            done.CountDown();
        },
        1);
    ASSERT_TRUE(done.Wait());

    DelayTaskRunner cancelled;
    std::atomic<bool> ran{false};
    cancelled.Run([&] { ran = true; }, 5);
    cancelled.Cancel();
    Latch later(1);
    cancelled.Run([&] { later.CountDown(); }, 20);
    ASSERT_TRUE(later.Wait());
    EXPECT_FALSE(ran.load());
}

TEST(StringUtilsTest, SplitKeepsOrSkipsEmptyPieces)
{
    EXPECT_EQ(StringUtils::Split("a,,b", ","), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_EQ(StringUtils::Split("a,,b,", ",", true), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(StringUtils::Split("a::b", "::"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(StringUtils::Split(",", ","), (std::vector<std::string>{"", ""}));
    EXPECT_TRUE(StringUtils::Split("", ",").empty());
    EXPECT_EQ(StringUtils::Split("abc", ""), (std::vector<std::string>{"abc"}));
}

TEST(TimeUtilsTest, ElapsedRealtimeIsMonotonicMilliseconds)
{
    const int64_t first = TimeUtils::ElapsedRealtime();
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    const int64_t second = TimeUtils::ElapsedRealtime();
    EXPECT_GT(first, 0);
    EXPECT_GE(second - first, 3);
}

TEST(QzLogTest, PrefixesLinesAndSkipsArgumentsOfDisabledLevels)
{
    int evaluated = 0;
    auto costly = [&evaluated] {
        ++evaluated;
        return "value";
    };
    const LogLevel saved = HiLogHost::GetLevel();
    HiLogHost::SetLevel(LOG_INFO);
    QZ_LOGD("debug %s", costly());
    EXPECT_EQ(evaluated, 0);
    {
        LogCapture log(LOG_INFO);
        const int line = __LINE__ + 1;
        QZ_LOGI("called with '%s' and %d", costly(), 42);
        QZ_LOGD("hidden %s", costly());
        ASSERT_EQ(log.Entries().size(), 1U);
        const auto entry = log.Entries()[0];
        EXPECT_EQ(entry.tag, "ASP");
        EXPECT_EQ(entry.level, LOG_INFO);
        EXPECT_EQ(entry.domain, QzLog::DOMAIN);
        EXPECT_EQ(entry.message,
            "[QRV][util][utils_test.cpp:" + std::to_string(line) + "] TestBody: called with 'value' and 42");
    }
    EXPECT_EQ(evaluated, 1);
    HiLogHost::SetLevel(saved);

    const auto tag = QzLog::Tag::Create();
    EXPECT_STREQ(tag.GetModuleTag(), "default");
    EXPECT_STREQ(tag.GetComponentTag(), "QRV");
    EXPECT_STREQ(tag.GetSubSystemTag(), "ASP");
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Util
