// The report in the forms of other programs, each read by the real one.

#include "tests/support/temporary_folder.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/program.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;
using zor::test::runProgram;
using zor::test::shell;
using zor::test::ShellResult;
using zor::test::TemporaryFolder;

TEST(Json, Report_FitsTheInstalledSchema) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("python3");
    if (shell("/usr/bin/python3 -c 'import jsonschema'").code != 0) {
        ASSERT_TRUE(zor::test::mayMissPrograms());
        GTEST_SKIP() << "needs Python's jsonschema";
    }
    TemporaryFolder folder;
    const std::string check =
        folder.write("check.py", "import json, jsonschema, sys\n"
                                 "schema = json.load(open(sys.argv[1]))\n"
                                 "validator = jsonschema.validators.validator_for(schema)\n"
                                 "validator.check_schema(schema)\n"
                                 "for error in validator(schema).iter_errors(json.load(open(sys.argv[2]))):\n"
                                 "    print(error.message)\n");
    const auto complaints = [&](const Json &report) {
        return shell("/usr/bin/python3 '" + check + "' '" ZORPROPS_SCHEMA "' '" +
                     folder.write("report", report.dump()) + "'")
            .output;
    };
    Json report = Json::parse(runProgram({"--json"}).output);
    EXPECT_EQ(complaints(report), "");
    report["values"]["NumOfCPU"] = "2"; // so that it is known to look
    report["host"]["surprise"] = 1;
    EXPECT_NE(complaints(report).find("'2' is not"), std::string::npos);
    EXPECT_NE(complaints(report).find("'surprise' was unexpected"), std::string::npos);
}

TEST(Yaml, Report_SaysTheSameAsJson) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("python3");
    if (shell("/usr/bin/python3 -c 'import yaml'").code != 0) {
        ASSERT_TRUE(zor::test::mayMissPrograms());
        GTEST_SKIP() << "needs Python's yaml";
    }
    const auto viaYaml = [](const std::string &arguments) {
        const ShellResult result = shell(zor::test::zorprops() + " --format=yaml " + arguments +
                                         " 2>/dev/null | /usr/bin/python3 -c 'import json, sys, yaml; "
                                         "print(json.dumps(yaml.safe_load(sys.stdin)))'");
        const Json json = Json::parse(result.output, nullptr, false);
        EXPECT_FALSE(json.is_discarded()) << result.output;
        return json;
    };
    const auto keys = [](const Json &object) {
        std::vector<std::string> names;
        for (const auto &entry : object.items())
            names.push_back(entry.key());
        return names;
    };
    const Json yaml = viaYaml(""), json = Json::parse(runProgram({"--json"}).output);
    EXPECT_EQ(keys(yaml), keys(json));
    EXPECT_EQ(keys(yaml["host"]), keys(json["host"]));
    EXPECT_EQ(keys(yaml["properties"]), keys(json["properties"]));
    EXPECT_EQ(yaml["values"]["TotalPhysicalMemory"], json["values"]["TotalPhysicalMemory"]);
    EXPECT_EQ(yaml["fileSystems"][0]["mountPoint"], json["fileSystems"][0]["mountPoint"]);
    EXPECT_EQ(yaml["late"], json["late"]);
    EXPECT_EQ(viaYaml("list"), Json::parse(runProgram({"list", "--json"}).output));
    EXPECT_EQ(viaYaml("get OSType IPXAddress --null").dump(), R"({"OSType":"Mac OS X","IPXAddress":null})");
}

TEST(Csv, EveryRow_HasAsManyFields) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"--format=csv"},
                                                      {"list", "--format=csv"},
                                                      {"interfaces", "--loopback", "--format=csv"},
                                                      {"users", "--format=csv"},
                                                      {"get", "--format=csv", "OSType", "NumOfCPU"}}) {
        const std::string text = runProgram(arguments).output;
        const auto commas = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(text.find('\r')), ',');
        EXPECT_GE(commas, 1) << text;
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
    }
    EXPECT_EQ(runProgram({"get", "--format=csv", "OSType", "OSVersion"})
                  .output.rfind("name,value,unit\r\nOSType,Mac OS X,\r\n", 0),
              0u);
}

TEST(Prometheus, Promtool_HasNoComplaint) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("promtool");
    const ShellResult result =
        shell(zor::test::zorprops() + " --format=prometheus 2>/dev/null | promtool check metrics");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_EQ(result.output, "");
}

TEST(Prometheus, NodeExporter_ServesTheReport) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("prometheus-node-exporter");
    ZORCOMN_SKIP_WITHOUT_PROGRAM("curl");
    TemporaryFolder folder;
    folder.write("zorprops.prom", runProgram({"--format=prometheus"}).output);
    // A port that is free, most likely; the exporter says when it is not, and the next one is tried.
    const ShellResult result =
        shell("for port in 29100 29217 29341 29466; do\n"
              "  prometheus-node-exporter --web.listen-address=127.0.0.1:$port --collector.disable-defaults "
              "--collector.textfile --collector.textfile.directory='" +
              folder.path() + "' >'" + (folder / "log") +
              "' 2>&1 &\n"
              "  for try in $(seq 100); do\n"
              "    curl -s --max-time 10 http://127.0.0.1:$port/metrics >'" +
              (folder / "page") +
              "' && break\n"
              "    kill -0 $! 2>/dev/null || break\n"
              "    sleep 0.1\n"
              "  done\n"
              "  kill $! 2>/dev/null; wait $! 2>/dev/null\n"
              "  grep -q '^zorprops_report_complete 1' '" +
              (folder / "page") +
              "' && break\n"
              "done\n"
              "grep -E '^(zorprops_report_complete|zorprops_fact_info.*PlatformID|node_textfile_scrape_error)' '" +
              (folder / "page") + "'");
    EXPECT_EQ(result.output, "node_textfile_scrape_error 0\n"
                             "zorprops_fact_info{name=\"PlatformID\",value=\"MAC\"} 1\n"
                             "zorprops_report_complete 1\n")
        << zor::test::readFile(folder / "log");
}

TEST(Facts, Facter_TellsThem) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("facter");
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "facts.d");
    const Json report = Json::parse(runProgram({"--json"}).output);
    folder.write("facts.d/zorprops.json", runProgram({"--format=facts"}).output);
    const auto fact = [&](const std::string &name) {
        return shell("HOME='" + folder.path() + "' facter --external-dir '" + (folder / "facts.d") + "' " + name)
            .output;
    };
    EXPECT_EQ(fact("zorprops.properties.PlatformID"), "MAC\n");
    EXPECT_EQ(fact("zorprops.values.NumOfCPU"), report["values"]["NumOfCPU"].dump() + "\n");
    EXPECT_EQ(fact("zorprops.host.kernel"), report["host"]["kernel"].get<std::string>() + "\n");
}

TEST(Facts, Ansible_TellsThem) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("ansible");
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "facts.d");
    folder.write("facts.d/machine.fact", runProgram({"--format=facts"}).output);
    const ShellResult result = shell("HOME='" + folder.path() + "' ANSIBLE_LOCAL_TEMP='" + (folder / "tmp") +
                                     "' ANSIBLE_REMOTE_TMP='" + (folder / "remote") +
                                     "' ANSIBLE_LOCALHOST_WARNING=False ANSIBLE_INVENTORY_UNPARSED_WARNING=False "
                                     "ansible localhost -c local -m setup "
                                     "-a 'gather_subset=!all,!min,local fact_path=" +
                                     (folder / "facts.d") + "' 2>/dev/null");
    const Json answer =
        Json::parse(result.output.substr(std::min(result.output.find('{'), result.output.size())), nullptr, false);
    ASSERT_FALSE(answer.is_discarded()) << result.output;
    const Json facts = answer["ansible_facts"]["ansible_local"]["machine"]["zorprops"];
    EXPECT_EQ(facts["properties"]["PlatformID"], "MAC");
    EXPECT_TRUE(facts["values"]["NumOfCPU"].is_number()) << result.output;
}
