#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/module.h"
#include "framework/module_manager.h"
#include "platform/hilog/hilog_host.h"
#include "tests/support/fd_capture.h"

namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module {
namespace {

using OHOS::HiviewDFX::Host::LogCapture;

// A module that records its calls in a journal shared by all of them.
class FakeModule : public Module {
public:
    FakeModule(std::string name, ModuleType type, int order, std::vector<std::string>& journal)
        : name_(std::move(name)), type_(std::move(type)), order_(order), journal_(journal)
    {
    }
    void InitializeDependencies() override { journal_.push_back("deps:" + name_); }
    void InitializeNecessaries() override { journal_.push_back("necessaries:" + name_); }
    void UnInitialize() override { journal_.push_back("uninit:" + name_); }
    ModuleType GetModuleType() const override { return type_; }
    int GetModuleOrder() const override { return order_; }
    std::string GetModuleName() const override { return name_; }
    void Dump(int fd, const std::vector<std::string>& args) override
    {
        WriteLine(fd, name_ + " dumped " + std::to_string(args.size()) + " args, first=" + args[0]);
    }

private:
    std::string name_;
    ModuleType type_;
    int order_;
    std::vector<std::string>& journal_;
};

class ModuleManagerTest : public testing::Test {
protected:
    void SetUp() override { ModuleManager::GetInstance().Reset(); }
    void TearDown() override { ModuleManager::GetInstance().Reset(); }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& m : ModuleManager::GetInstance().GetModules()) {
            names.push_back(m.get().GetModuleName());
        }
        return names;
    }

    std::vector<std::string> journal_;
    FakeModule permission_{"permission", ModuleType::BUSINESS, 0, journal_};
    FakeModule record_{"record", ModuleType::BUSINESS, 0, journal_};
    FakeModule clone_{"clone", ModuleType::BUSINESS, 0, journal_};
    FakeModule message_{"message", ModuleType::PLATFORM, 0, journal_};
};

TEST_F(ModuleManagerTest, SortsByTypeOrderThenNameAndInitialisesInTwoPhases)
{
    auto& manager = ModuleManager::GetInstance();
    for (Module* m : std::vector<Module*>{&permission_, &record_, &clone_, &message_}) {
        manager.Register(*m);
    }
    EXPECT_EQ(Names(), (std::vector<std::string>{"message", "clone", "permission", "record"}));

    LogCapture log;
    manager.InitializeModules();
    EXPECT_EQ(
        journal_, (std::vector<std::string>{"deps:message", "deps:clone", "deps:permission", "deps:record",
                      "necessaries:message", "necessaries:clone", "necessaries:permission", "necessaries:record"}));
    EXPECT_EQ(log.Count(LOG_INFO,
                  "finish InitializeModules, modules=[ref->((message, PLATFORM, 0)), ref->((clone, BUSINESS, 0)), "
                  "ref->((permission, BUSINESS, 0)), ref->((record, BUSINESS, 0))]"),
        1U);

    journal_.clear();
    manager.UnInitializeModules();
    // Same forward order, and the modules stay registered.
    EXPECT_EQ(
        journal_, (std::vector<std::string>{"uninit:message", "uninit:clone", "uninit:permission", "uninit:record"}));
    EXPECT_EQ(log.Count(LOG_INFO, "finish InitializeModules"), 2U);
    EXPECT_EQ(Names().size(), 4U);

    // Negative orders sort first within a type; PLATFORM beats any BUSINESS order.
    FakeModule early{"zzz", ModuleType::BUSINESS, -1, journal_};
    FakeModule late{"aaa", ModuleType::PLATFORM, 99, journal_};
    manager.Register(early);
    manager.Register(late);
    EXPECT_EQ(Names(), (std::vector<std::string>{"message", "aaa", "zzz", "clone", "permission", "record"}));
    manager.Reset();
}

TEST_F(ModuleManagerTest, DuplicatesAreJudgedByIdentityNotByName)
{
    auto& manager = ModuleManager::GetInstance();
    LogCapture log;
    manager.Register(clone_);
    manager.Register(clone_);
    EXPECT_EQ(Names().size(), 1U);
    EXPECT_EQ(log.Count(LOG_WARN,
                  "ignore duplicate, existModule=ref->((clone, BUSINESS, 0)), modules=[ref->((clone, BUSINESS, 0))]"),
        1U);
    EXPECT_EQ(log.Count(LOG_DEBUG, "called, modules=[]"), 1U);
    EXPECT_EQ(log.Count(LOG_DEBUG, "done, modules=[ref->((clone, BUSINESS, 0))]"), 1U);

    FakeModule sameName{"clone", ModuleType::BUSINESS, 0, journal_};
    manager.Register(sameName);
    EXPECT_EQ(Names(), (std::vector<std::string>{"clone", "clone"}));
}

TEST_F(ModuleManagerTest, DumpRoutesByExactNameAndPrintsUsage)
{
    auto& manager = ModuleManager::GetInstance();
    for (Module* m : std::vector<Module*>{&permission_, &record_, &clone_, &message_}) {
        manager.Register(*m);
    }
    {
        AspTest::FdCapture out;
        manager.Dump(out.Fd(), {"record", "x"});
        EXPECT_EQ(out.Lines(), (std::vector<std::string>{"record dumped 2 args, first=record"}));
    }
    {
        AspTest::FdCapture out;
        manager.Dump(out.Fd(), {});
        const std::string dashes(64, '-');
        const std::vector<std::string> usage{"Module=(message, PLATFORM, 0)", "Usage: ", "  Not implement yet.", dashes,
            "Module=(clone, BUSINESS, 0)", "Usage: ", "  Not implement yet.", dashes,
            "Module=(permission, BUSINESS, 0)", "Usage: ", "  Not implement yet.", dashes,
            "Module=(record, BUSINESS, 0)", "Usage: ", "  Not implement yet.", dashes, "Modules size=4"};
        EXPECT_EQ(out.Lines(), usage);

        AspTest::FdCapture unknown;
        manager.Dump(unknown.Fd(), {"Permission"});
        auto lines = unknown.Lines();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines[0], "Unknown moduleName=Permission");
        lines.erase(lines.begin());
        EXPECT_EQ(lines, usage);
    }
    {
        // A module keeping the default Dump writes nothing.
        struct Quiet : FakeModule {
            using FakeModule::FakeModule;
            void Dump(int fd, const std::vector<std::string>& args) override { Module::Dump(fd, args); }
        } quiet{"quiet", ModuleType::BUSINESS, 0, journal_};
        manager.Register(quiet);
        AspTest::FdCapture out;
        manager.Dump(out.Fd(), {"quiet"});
        EXPECT_EQ(out.Text(), "");
    }
}

}  // namespace
}  // namespace OHOS::AppSecurityPrivacy::SecurityPrivacyServer::Module
