#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>

#include "host/policy/ArchiveFile.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "tests/host/policy/TaskBuilder.h"
#include "tests/support/EveryDamage.h"
#include "tests/support/TempRoot.h"

namespace {

using tasks::kPolicyBytes;
using tasks::Policy;
using tasks::Same;
using Table = QVKPolicySensitiveFileAuditVT;
using Mgr = QVKPolicySensitiveFileAuditVTMgr;

// Two policies: the one above, and one with a time stamp of -1, the name "N" and flags of -1.
std::string const kFile = FromHex("54564152 01000000 50534641 02000000 4a000000 594373e2") +
                          kPolicyBytes +  // "PSFA", 2 records, 74 bytes
                          FromHex("ffffffffffffffff 00000000 01000000 4e00 00000000 00000000 ffffffff 00");
std::string const kEmptyFile = FromHex("54564152 01000000 50534641 00000000 00000000 021d66b5");

Table Two() {
    Table table;
    table.nodes = {Policy(), {}};
    table.nodes[1].policy->time_stamp = -1;
    table.nodes[1].policy->name = "N";
    table.nodes[1].flags = -1;
    return table;
}
Table One(char const* id) {
    Table table;
    table.nodes.resize(1);
    table.nodes[0].policy->id = id;
    return table;
}

class AuditPolicyTest : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "config/PolicySensitiveFileAudit.arc";

    void Put(std::string const& bytes) {
        std::filesystem::create_directories(root / "config");
        WriteBytes(path, bytes);
    }
    void ExpectRefused(std::string const& bytes) {
        Put(bytes);
        Table table = Two();
        EXPECT_EQ(table.from_file(path), EBADMSG);
        EXPECT_TRUE(table.nodes.empty());
    }
    // Ids of the policies in force.
    static std::string InForce(bool from_arc = false) {
        Table table = One("other");
        EXPECT_TRUE(Mgr::pins()->get(table, from_arc));
        std::string ids;
        for (auto const& node : table.nodes)
            ids += node.header().id.get_str() + ";";
        return ids;
    }
};

TEST_F(AuditPolicyTest, WritesTheDocumentedFile) {
    Put("");
    ASSERT_EQ(Two().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFile);
    ASSERT_EQ(Table().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kEmptyFile);
}

TEST_F(AuditPolicyTest, ReadsTheDocumentedFile) {
    Put(kFile);
    Table table;
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_EQ(table.nodes.size(), 2U);
    EXPECT_TRUE(Same(table.nodes[0], Policy()));
    EXPECT_EQ(table.nodes[1].header().time_stamp, -1);
    EXPECT_EQ(table.nodes[1].header().name, HString("N"));
    EXPECT_EQ(table.nodes[1].flags, -1);
    EXPECT_FALSE(table.nodes[1].keep);
}

TEST_F(AuditPolicyTest, APolicyWithoutAHeaderIsOneWithAnEmptyHeader) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy = nullptr;
    EXPECT_EQ(node.header().time_stamp, 0);
    EXPECT_TRUE(node.header().id.empty());
    Table table;
    table.nodes = {node};
    Put("");
    ASSERT_EQ(table.to_file(path), 0);
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_NE(table.nodes.at(0).policy, nullptr);
}

TEST_F(AuditPolicyTest, CopiesShareTheHeader) {
    QVKPolicySensitiveFileAuditNode const node = Policy();
    QVKPolicySensitiveFileAuditNode const copy = node;
    EXPECT_EQ(&copy.header(), &node.header());
    EXPECT_EQ(&node.header(), node.policy.get());
}

TEST_F(AuditPolicyTest, EveryFlippedBitIsRefused) {
    ForEveryFlippedBit(kFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(AuditPolicyTest, EveryCutFileIsRefused) {
    ForEveryCut(kFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(AuditPolicyTest, EveryCutRecordIsRefusedWhateverItsChecksum) {
    ForEveryCut(kPolicyBytes, [this](std::string const& body) { ExpectRefused(Varnok::PackArchive("PSFA", 1, body)); });
    ExpectRefused(Varnok::PackArchive("PSFA", 1, kPolicyBytes + '\0'));
    ExpectRefused(Varnok::PackArchive("PSFA", 2, kPolicyBytes));
}

TEST_F(AuditPolicyTest, AKeepThatIsNeitherYesNorNoIsRefused) {
    for (int const keep : {2, 0x80, 0xFF})
        ExpectRefused(
            Varnok::PackArchive("PSFA", 1, kPolicyBytes.substr(0, kPolicyBytes.size() - 1) + static_cast<char>(keep)));
}

TEST_F(AuditPolicyTest, NoneIsInForceAtFirst) {
    EXPECT_EQ(InForce(), "");
    EXPECT_EQ(InForce(true), "");
}

TEST_F(AuditPolicyTest, ATablePutInForceIsNotWritten) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    EXPECT_EQ(InForce(), "P7;");
    EXPECT_FALSE(Exists(root / "config"));
}

TEST_F(AuditPolicyTest, ATableThatIsSetIsWrittenAndInForce) {
    ASSERT_EQ(Mgr::pins()->set(Two()), 0);
    EXPECT_EQ(InForce(), "P1;;");
    EXPECT_EQ(ReadBytes(path), kFile);
}

TEST_F(AuditPolicyTest, ATableThatCannotBeWrittenIsNotPutInForce) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    WriteBytes(root / "config", "in the way");
    EXPECT_EQ(Mgr::pins()->set(Two()), ENOTDIR);
    EXPECT_EQ(InForce(), "P7;");
}

TEST_F(AuditPolicyTest, TheFileIsPutInForceOnlyWhenAskedFor) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    Put(kFile);
    EXPECT_EQ(InForce(), "P7;");
    EXPECT_EQ(InForce(true), "P1;;");
    EXPECT_EQ(InForce(), "P1;;");
}

TEST_F(AuditPolicyTest, AFileThatCannotBeReadWholeChangesNothing) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    EXPECT_EQ(InForce(true), "P7;");  // missing
    for (std::string const& bytes : {kFile.substr(0, kFile.size() - 1), kFile + '\0', std::string()}) {
        Put(bytes);
        EXPECT_EQ(InForce(true), "P7;");
    }
}

TEST_F(AuditPolicyTest, AnEmptyFileOfPoliciesIsATableToo) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    Put(kEmptyFile);
    EXPECT_EQ(InForce(true), "");
}

TEST_F(AuditPolicyTest, ACopyGivenOutDoesNotChangeWithTheTableInForce) {
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
    Table table;
    ASSERT_TRUE(Mgr::pins()->get(table, false));
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(Table()));
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].header().id, HString("P7"));
}

TEST_F(AuditPolicyTest, ReadersSeeOneTableOrTheOther) {
    ASSERT_EQ(Mgr::pins()->set(Two()), 0);
    std::array<std::thread, 4> threads;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([i] {
            for (int round = 0; round < 100; ++round) {
                if (i == 0) {
                    EXPECT_EQ(Mgr::pins()->set(Two()), 0);
                } else if (i == 1) {
                    EXPECT_TRUE(Mgr::pins()->set_no_write_to_arc(One("P7")));
                } else {
                    std::string const ids = InForce(i == 2);
                    EXPECT_TRUE(ids == "P1;;" || ids == "P7;") << ids;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
