// zorprops as its user meets it: what it writes where, and with which exit code.

#include "zorcomn/sysprops.h"

#include "tests/support/child.h"
#include "tests/support/private_machine.h"
#include "tests/support/temporary_folder.h"
#include "tests/tools/program.h"

#include <algorithm>
#include <sstream>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace sysprops = velmora_com::vta::sysprops;
using Json = nlohmann::ordered_json;
using zor::test::childPasses;
using zor::test::LoginRecord;
using zor::test::ProgramResult;
using zor::test::runProgram;
using zor::test::Standard;

namespace {

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> keysOf(const Json &object) {
    std::vector<std::string> keys;
    for (const auto &entry : object.items())
        keys.push_back(entry.key());
    return keys;
}

/** The JSON that these arguments give; parsing checks the UTF-8. */
Json jsonOf(const std::vector<std::string> &arguments, int code = 0) {
    const ProgramResult result = runProgram(arguments);
    EXPECT_EQ(result.code, code) << result.errors;
    Json json = Json::parse(result.output, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << result.output;
    return json;
}

std::vector<std::string> libraryNames() {
    std::map<std::wstring, std::wstring> properties;
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> fileSystems;
    sysprops::ISysProps().GetAllSystemProperties(properties, fileSystems);
    std::vector<std::string> names;
    for (const auto &property : properties)
        names.push_back(sysprops::sysprops_wide_to_ansi(property.first));
    return names;
}

const std::string kNote = ZORPROPS_HOST_IS_TARGET ? ""
                                                  : "zorprops: note: this host is not the target system; OSType, "
                                                    "OSOEMId and PlatformID are the target's fixed texts\n";

LoginRecord userRecord(const std::string &id, const std::string &user) {
    return {zor::test::kUserProcess, id, user, "pts/" + id};
}

/** Makes a machine with these users logged on, in a child; carol is a directory user. */
bool logOn(const std::vector<LoginRecord> &records) {
    zor::test::PrivateMachine files;
    files.placeScript("/usr/bin/dscl", "test \"$3\" = /Users/carol && echo 'userPrincipalName: carol@DOM1'");
    files.place("/var/run/utmp", "");
    zor::test::writeLoginRecords("/var/run/utmp", records);
    return files.isReady();
}

} // namespace

TEST(Report, Json_HasEveryPropertyByNameAndTheFileSystems) {
    const Json report = jsonOf({"--json"});
    EXPECT_EQ(keysOf(report),
              (std::vector<std::string>{"schema", "host", "properties", "values", "fileSystems", "late", "unread"}));
    EXPECT_EQ(report["schema"], 1);
    EXPECT_EQ(keysOf(report["values"]), libraryNames());
    EXPECT_EQ(keysOf(report["properties"]), libraryNames()); // the library's map is in the order of names
    for (const auto &value : report["properties"])
        EXPECT_TRUE(value.is_string()) << value;
    EXPECT_EQ(report["properties"]["PlatformID"], "MAC");
    EXPECT_EQ(report["properties"]["NumberOfFileSystems"], std::to_string(report["fileSystems"].size()));
    for (const auto &fileSystem : report["fileSystems"]) {
        EXPECT_EQ(keysOf(fileSystem), (std::vector<std::string>{"mountPoint", "totalMB", "freeMB"}));
        for (const auto &value : fileSystem)
            EXPECT_TRUE(value.is_string()) << value;
    }
}

TEST(Report, Text_BeginsWithThisHost) {
    const std::vector<std::string> lines = linesOf(runProgram({}).output);
    ASSERT_GT(lines.size(), 3u);
    EXPECT_EQ(lines[0], "This host");
    EXPECT_EQ(lines[1].rfind("  Operating system     ", 0), 0u) << lines[1];
    EXPECT_EQ(lines[1].find("Mac OS X") != std::string::npos, bool(ZORPROPS_HOST_IS_TARGET)) << lines[1];
}

TEST(Report, Text_HasEveryPropertyOnceAndItsValuesInOneColumn) {
    const ProgramResult result = runProgram({});
    EXPECT_EQ(result.code, 0);
    const size_t begin = result.output.find("\nOperating system\n"), end = result.output.find("File systems\n");
    std::vector<std::string> names;
    for (const std::string &line : linesOf(result.output.substr(begin, end - begin))) {
        if (line.rfind("  ", 0) != 0)
            continue;
        names.push_back(line.substr(2, line.find(' ', 2) - 2));
        EXPECT_EQ(line.find_first_not_of(' ', line.find(' ', 2)), 23u) << line;
        EXPECT_NE(line.back(), ' ') << line;
    }
    const std::string withoutValue = linesOf(result.output).back(), start = "No value on this system: ";
    ASSERT_EQ(withoutValue.rfind(start, 0), 0u) << withoutValue;
    std::istringstream rest(withoutValue.substr(start.size()));
    for (std::string name; rest >> name;)
        names.push_back(name.substr(0, name.find(',')));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, libraryNames());
    EXPECT_NE(result.output.find("Operating system\n  OSType               Mac OS X\n"), std::string::npos);
    EXPECT_NE(result.output.find("File systems\n  Mount point"), std::string::npos);
}

TEST(Report, FixedTexts_ComeWithANoteOnStandardError) {
    EXPECT_EQ(runProgram({}).errors, kNote);
    EXPECT_EQ(runProgram({"--json"}).errors, kNote);
    for (const char *name : {"OSType", "OSOEMId", "PlatformID"})
        EXPECT_EQ(runProgram({"get", "TimeZone", name}).errors, kNote);
    EXPECT_EQ(runProgram({"get", "TimeZone", "OSVersion"}).errors, "");
    EXPECT_EQ(runProgram({"list"}).errors, "");
}

TEST(Get, OneName_GivesTheValueAlone) {
    const ProgramResult result = runProgram({"get", "PlatformID"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "MAC\n");
}

TEST(Get, SeveralNames_GiveLinesInTheOrderAsked) {
    EXPECT_EQ(runProgram({"get", "PlatformID", "CPUSerialNumber", "OSOEMId"}).output,
              "PlatformID=MAC\nCPUSerialNumber=N/A\nOSOEMId=Apple Macintosh\n");
}

TEST(Get, Json_IsAnObjectInTheOrderAsked) {
    EXPECT_EQ(jsonOf({"get", "--json", "PlatformID", "CPUSerialNumber"}, 3).dump(),
              R"({"PlatformID":"MAC","CPUSerialNumber":"N/A"})");
    EXPECT_EQ(jsonOf({"--json", "get", "PlatformID"}).dump(), R"({"PlatformID":"MAC"})");
}

TEST(Get, EveryNameOfTheReport_IsAnswered) {
    const Json report = jsonOf({"--json"});
    std::vector<std::string> arguments{"get", "--json"};
    const std::vector<std::string> names = libraryNames();
    arguments.insert(arguments.end(), names.begin(), names.end());
    const Json values = jsonOf(arguments, 3); // the processor's serial number, for one, has no value
    EXPECT_EQ(keysOf(values), names);
    for (const char *name :
         {"OSType", "NumberOfFileSystems", "TotalPhysicalMemory", "ComputerName", "CPUType", "UserName"})
        EXPECT_EQ(values[name], report["properties"][name]) << name;
}

// By itself a name may be asked of another function of the library than the report asks.
TEST(Get, EachNameByItself_IsAnsweredAsInTheReport) {
    const Json report = jsonOf({"--json"});
    for (const char *name : {"OSType", "OSOEMId", "PlatformID", "ComputerName", "DomainName", "IPHostName", "IPAddress",
                             "SubnetMask", "SubnetAddress", "NETAddress", "IPXAddress", "TimeZone", "DefaultLangID"}) {
        const Json value = report["properties"][name];
        const int code = value == "N/A" || value == "" ? 3 : 0;
        EXPECT_EQ(jsonOf({"get", "--json", name}, code)[name], value) << name;
    }
}

TEST(Get, FigureOfAMountPoint_IsAnsweredByItsComposedName) {
    const Json report = jsonOf({"--json"});
    for (const auto &fileSystem : report["fileSystems"]) {
        const std::string prefix = "FileSystem\"" + fileSystem["mountPoint"].get<std::string>() + "\" ";
        EXPECT_EQ(runProgram({"get", prefix + "Total_Disk_Space_in_MB"}).output,
                  fileSystem["totalMB"].get<std::string>() + "\n");
        EXPECT_EQ(runProgram({"get", prefix + "Free_Disk_Space_in_MB"}).code, 0);
    }
}

TEST(Get, NameThatNobodyAnswers_GivesTheNearestOnes) {
    const struct {
        const char *name, *nearest;
    } rows[] = {
        {"ostyp", "'ostyp'; the nearest are OSType, "},
        {"FreeMemry", "'FreeMemry'; the nearest are FreeMemory, "},
        {"SystemInfo", "'SystemInfo'; the nearest are "},
        {"", "''; the nearest are "},
        {"OSType\xFF", "'OSType\\xff'; the nearest are OSType, "},
        {"a\nb", "'a\\x0ab'; the nearest are "},
        {"FileSystem\"/no such\" Total_Disk_Space_in_MB", "the nearest are "},
    };
    for (const auto &row : rows) {
        const ProgramResult result = runProgram({"get", row.name});
        EXPECT_EQ(result.code, 1) << row.name;
        EXPECT_EQ(result.output, "") << row.name;
        EXPECT_EQ(linesOf(result.errors).size(), 1u) << result.errors;
        EXPECT_NE(result.errors.find(row.nearest), std::string::npos) << result.errors;
    }
}

TEST(Get, OneOfSeveralUnknown_AnswersTheOthers) {
    const ProgramResult result = runProgram({"get", "PlatformID", "Bogus", "--json", "Other"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(Json::parse(result.output).dump(), R"({"PlatformID":"MAC"})");
    EXPECT_NE(result.errors.find("'Bogus'"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("'Other'"), std::string::npos) << result.errors;
    EXPECT_EQ(runProgram({"get", "Bogus", "OSOEMId"}).output, "OSOEMId=Apple Macintosh\n");
}

TEST(Get, LetterCase_DoesNotCount) {
    EXPECT_EQ(runProgram({"get", "platformid"}).output, "MAC\n");
    EXPECT_EQ(runProgram({"get", "PLATFORMID", "osoemID"}).output, "PlatformID=MAC\nOSOEMId=Apple Macintosh\n");
    EXPECT_EQ(runProgram({"get", "HOST.KERNEL"}).output, runProgram({"get", "host.kernel"}).output);
}

TEST(Get, KnownNameWithoutValue_HasACodeOfItsOwn) {
    const ProgramResult plain = runProgram({"get", "CPUSerialNumber"}),
                        null = runProgram({"get", "--null", "IPXAddress"});
    EXPECT_EQ(plain.code, 3);
    EXPECT_EQ(plain.output, "N/A\n");
    EXPECT_EQ(plain.errors, "");
    EXPECT_EQ(null.code, 3);
    EXPECT_EQ(null.output, "");
    EXPECT_EQ(runProgram({"get", "--null", "IPXAddress", "PlatformID"}).output, "IPXAddress=\nPlatformID=MAC\n");
    EXPECT_EQ(Json::parse(runProgram({"get", "--null", "--json", "IPXAddress"}).output).dump(),
              R"({"IPXAddress":null})");
    EXPECT_EQ(runProgram({"get", "IPXAddress", "Bogus"}).code, 1); // unknown tells more
    EXPECT_EQ(runProgram({"get", "PlatformID"}).code, 0);
}

TEST(Get, FactOfThisHost_IsAnswered) {
    const Json host = jsonOf({"--json"})["host"];
    EXPECT_EQ(runProgram({"get", "host.kernel"}).output, host["kernel"].get<std::string>() + "\n");
    EXPECT_EQ(jsonOf({"get", "host.memoryTotal", "--json"})["host.memoryTotal"], host["memoryTotal"]);
    EXPECT_EQ(jsonOf({"get", "host.diskTotal", "--json"})["host.diskTotal"], host["diskTotal"]);
}

TEST(Get, TimeZone_IsTheOneInForce) {
    EXPECT_EQ(runProgram({"get", "TimeZone"}, Standard::Pipe, {{"TZ", "EST5EDT"}}).output, "EST\n");
    EXPECT_EQ(runProgram({"get", "DefaultLangID"}, Standard::Pipe, {{"LANG", "ja_JP.UTF-8"}}).output, "0411\n");
}

TEST(List, Names_AreThoseOfTheReportByGroup) {
    const std::string text = runProgram({"list"}).output;
    std::vector<std::string> names;
    for (const std::string &line : linesOf(text.substr(0, text.find("\nThis host\n"))))
        if (line.rfind("  ", 0) == 0)
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
    const std::vector<std::string> inOrder = names;
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, libraryNames());
    std::vector<std::string> jsonNames;
    const Json list = jsonOf({"list", "--json"});
    for (const auto &word : list["properties"]) {
        jsonNames.push_back(word["name"]);
        EXPECT_EQ(keysOf(word), (std::vector<std::string>{"name", "group", "type", "unit", "meaning"}));
    }
    EXPECT_EQ(jsonNames, inOrder);
    EXPECT_NE(text.find("\n  TotalPhysicalMemory  integer  bytes  physical memory\n"), std::string::npos) << text;
}

TEST(Options, Version_IsTheProjects) {
    const ProgramResult result = runProgram({"--version"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "zorprops " ZORPROPS_VERSION "\n");
}

TEST(Options, UsageError_IsOneLineAndCode2) {
    const std::vector<std::string> rows[] = {
        {"bogus"},
        {"--bogus"},
        {"-x"},
        {"get"},
        {"get", "--json"},
        {"list", "OSType"},
        {"users", "carol"},
        {"--loopback"},
        {"--local-ip"},
        {"--local-ip", "nowhere"},
        {"--local-ip", ""},
        {"--json=yes"},
        {"a\nb"},
        {"users", "--loopback"},
        {"interfaces", "1"},
        {"--format=bogus"},
        {"--format"},
        {"get", "--format=prometheus", "OSType"},
        {"diff", "--format=csv", "a"},
        {"list", "--null"},
        {"--count", "3"},
        {"watch", "--count", "0"},
        {"watch", "--interval", "-1"},
        {"--timeout", "soon"},
        {"--timeout", "1.2.3"},
        {"--timeout", "86401"},
        {"diff"},
        {"diff", "a", "b", "c"},
        {"completion"},
        {"completion", "tcsh"},
        {"completion", "bash", "zsh"},
        {"--local-ip", "1.2.3"},
    };
    for (const auto &row : rows) {
        const ProgramResult result = runProgram(row);
        EXPECT_EQ(result.code, 2) << row.front();
        EXPECT_EQ(result.output, "") << row.front();
        EXPECT_EQ(linesOf(result.errors).size(), 1u) << result.errors;
        EXPECT_EQ(result.errors.rfind("zorprops: ", 0), 0u) << result.errors;
    }
}

TEST(Options, UnknownOption_IsNamed) {
    const struct {
        std::vector<std::string> arguments;
        const char *named;
    } rows[] = {
        {{"--bogus"}, "--bogus"},
        {{"--bogus=3"}, "--bogus=3"},
        {{"-x"}, "-x"},
        {{"-xv"}, "-x"},
        {{"-vx"}, "-x"},
        {{"list", "-xv", "--json"}, "-x"},
        {{"-?"}, "-?"},
        {{"-:"}, "-:"},
        {{"list", "--lo"}, "--lo"},
        {{"-\xFF"}, "-\\xff"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(runProgram(row.arguments).errors,
                  "zorprops: no such option: " + std::string(row.named) + " (try zorprops --help)\n");
}

TEST(Options, ValueForOneThatTakesNone_IsRefused) {
    EXPECT_EQ(runProgram({"--json=yes"}).errors,
              "zorprops: the option takes no value: --json=yes (try zorprops --help)\n");
}

TEST(Options, NearlyRight_IsGuessed) {
    EXPECT_EQ(runProgram({"--jsn"}).errors,
              "zorprops: no such option: --jsn; did you mean --json? (try zorprops --help)\n");
    EXPECT_EQ(runProgram({"--formt=csv"}).errors,
              "zorprops: no such option: --formt=csv; did you mean --format? (try zorprops --help)\n");
    EXPECT_EQ(runProgram({"interface"}).errors,
              "zorprops: no such command: interface; did you mean interfaces? (try zorprops --help)\n");
}

TEST(Options, TwoDashes_EndThem) {
    EXPECT_EQ(runProgram({"get", "--", "PlatformID"}).output, "MAC\n");
    EXPECT_EQ(runProgram({"get", "--", "--json"}).code, 1);
}

TEST(Output, ThatCannotBeWritten_IsAnError) {
    const std::vector<std::string> rows[] = {{},        {"--json"},     {"get", "TimeZone"}, {"list"},
                                             {"users"}, {"interfaces"}, {"--help"},          {"--version"}};
    for (const auto &row : rows)
        for (const Standard output : {Standard::PipeWithoutReader, Standard::FullDisk, Standard::Closed}) {
            const ProgramResult result = runProgram(row, output);
            EXPECT_EQ(result.code, 1);
            EXPECT_NE(result.errors.find("zorprops: cannot write the output: "), std::string::npos) << result.errors;
        }
}

class MadeUpMachine : public ::testing::Test {
protected:
    void SetUp() override { ZORCOMN_SKIP_WITHOUT_NAMESPACES(); }
};

TEST_F(MadeUpMachine, Users_AreListedAndCombined) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(logOn({userRecord("1", "zoe"), userRecord("2", "carol"), userRecord("3", "Alice")}));
        EXPECT_EQ(runProgram({"users"}).output, "Network users  dom1\\carol\n"
                                                "Local users    alice\n"
                                                "               zoe\n"
                                                "Combined       dom1\\carol,alice,zoe\n");
        EXPECT_EQ(
            jsonOf({"users", "--json"}).dump(),
            R"({"networkUsers":["dom1\\carol"],"localUsers":["alice","zoe"],"combined":"dom1\\carol,alice,zoe"})");
        EXPECT_EQ(jsonOf({"--json"})["properties"]["UserName"], "dom1\\carol,alice,zoe");
        EXPECT_EQ(runProgram({"get", "UserName"}).output, "dom1\\carol,alice,zoe\n");
    }));
}

TEST_F(MadeUpMachine, NobodyLoggedOn_IsSaid) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(logOn({}));
        EXPECT_EQ(runProgram({"users"}).output,
                  "Network users  (none)\nLocal users    (none)\nCombined       (none)\n");
        EXPECT_EQ(jsonOf({"users", "--json"}).dump(), R"({"networkUsers":[],"localUsers":[],"combined":""})");
        EXPECT_EQ(runProgram({"get", "UserName"}).output, "NA\n");
    }));
}

TEST_F(MadeUpMachine, Diagnostics_SpoilNoOutputAndComeWhenAskedFor) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(logOn({userRecord("1", "zoe")}));
        EXPECT_EQ(runProgram({"get", "UserName"}).errors, "");
        const ProgramResult result = runProgram({"get", "UserName", "--verbose"});
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.output, "zoe\n");
        EXPECT_EQ(result.errors, "Some changes happen in the logon sessions.\n7  1  zoe  pts/1 \n"
                                 "Local User Logged on zoe \nComing out from the logon session collections.\n");
    }));
}

TEST_F(MadeUpMachine, HostileUserNames_StayWithinTheirLinesAndJson) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(logOn({userRecord("1", "a\nPlatformID=X"), userRecord("2", "b\"',{}\x1B[2J\xC2\x9B"),
                           userRecord("3", "c\xFF\xFE"), userRecord("4", "$(touch /mnt/x)")}));
        const std::string combined = "$(touch /mnt/x),a\nplatformid=x,b\"',{}\x1B[2j\xC2\x9B,c";
        const std::string shown = "$(touch /mnt/x),a\\x0aplatformid=x,b\"',{}\\x1b[2j\\xc2\\x9b,c";
        EXPECT_EQ(jsonOf({"--json"})["properties"]["UserName"], combined);
        EXPECT_EQ(jsonOf({"users", "--json"})["combined"], combined);
        EXPECT_EQ(runProgram({"get", "UserName"}).output, combined + "\n");
        EXPECT_EQ(runProgram({"get", "UserName", "PlatformID"}).output, "UserName=" + shown + "\nPlatformID=MAC\n");
        EXPECT_NE(runProgram({"users"}).output.find("Combined       " + shown + "\n"), std::string::npos);
        EXPECT_NE(runProgram({}).output.find("  UserName             " + shown + "\n"), std::string::npos);
        EXPECT_NE(access("/mnt/x", F_OK), 0);
    }));
}

TEST_F(MadeUpMachine, HostNameThatIsNoUtf8_StopsNothing) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_TRUE(zor::test::enterPrivateNames("ho\xFFst\x1B", ""));
        EXPECT_EQ(jsonOf({"--json"})["properties"]["ComputerName"], "ho"); // what converts of it
        EXPECT_EQ(runProgram({}).code, 0);
        EXPECT_EQ(runProgram({"get", "ComputerName"}).output, "ho\n");
    }));
}

TEST_F(MadeUpMachine, Users_AreLookedUpOnlyWhenAskedFor) {
    if (access("/bin/bash", X_OK) != 0)
        GTEST_SKIP() << "needs another shell, to note that the first one is started";
    EXPECT_TRUE(childPasses([] {
        zor::test::PrivateMachine files;
        files.place("/var/run/utmp", "");
        files.placeScript("/usr/bin/dscl", "");
        files.place("/bin/sh", "#!/bin/bash\necho started >> /mnt/shells\nexec /bin/bash \"$@\"\n", 0755);
        zor::test::writeLoginRecords("/var/run/utmp", {userRecord("1", "zoe")});
        ASSERT_TRUE(files.isReady());
        for (const char *name : {"TimeZone", "ComputerName", "IPXAddress", "OSType"})
            runProgram({"get", name});
        EXPECT_EQ(zor::test::readFile("/mnt/shells"), "");
        runProgram({"get", "UserName"});
        EXPECT_NE(zor::test::readFile("/mnt/shells"), "");
    }));
}

TEST_F(MadeUpMachine, NobodyLoggedOn_StartsNoCommand) {
    if (access("/bin/bash", X_OK) != 0)
        GTEST_SKIP() << "needs another shell, to note that the first one is started";
    EXPECT_TRUE(childPasses([] {
        zor::test::PrivateMachine files;
        files.place("/var/run/utmp", "");
        files.place("/usr/bin/dscl", "#!/bin/bash\n", 0755);
        files.place("/bin/sh", "#!/bin/bash\necho started >> /mnt/shells\nexec /bin/bash \"$@\"\n", 0755);
        zor::test::writeLoginRecords("/var/run/utmp", {});
        ASSERT_TRUE(files.isReady());
        EXPECT_EQ(runProgram({"--json"}).code, 0);
        EXPECT_EQ(zor::test::readFile("/mnt/shells"), "");
        zor::test::writeLoginRecords("/var/run/utmp", {userRecord("1", "zoe")});
        EXPECT_EQ(runProgram({"get", "UserName"}).code, 0);
        EXPECT_EQ(zor::test::readFile("/mnt/shells"), "started\nstarted\n"); // so the count would show
    }));
}
