// SPDX-License-Identifier: ISC
// The command as a process: its output, its exit status and the files that it leaves.
#include <chrono>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "tests/tools/scratch.h"

namespace quellard::test {
namespace {

using Names = std::vector<std::string>;

std::size_t linesOf(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

struct Ran {
  int status;
  std::string out;
  std::string error;
};

void expectFailure(const Ran& ran, int status, const std::string& part) {
  EXPECT_EQ(ran.status, status);
  EXPECT_EQ(linesOf(ran.error), 1u) << ran.error;
  EXPECT_TRUE(ran.error.starts_with("quellard: ")) << ran.error;
  EXPECT_TRUE(contains(ran.error, part)) << ran.error;
}

// Whether a process has a new file open in a folder, either unnamed or with a temporary name.
bool hasOpenIn(pid_t process, const fs::path& folder) {
  std::error_code error;
  const fs::path descriptors = "/proc/" + std::to_string(process) + "/fd";
  for (const auto& entry : fs::directory_iterator(descriptors, error)) {
    const std::string file = fs::read_symlink(entry, error).string();
    const bool isNew = contains(file, "(deleted)") || contains(file, ".part");
    if (isNew && file.starts_with(folder.parent_path().string())) return true;
  }
  return false;
}

class Command : public testing::Test {
 protected:
  Command() {
    writeAudio(folder / "in.wav", {48000, 1, pluck(0.1)});
    write("note.txt", "no audio");
    fs::create_directory(folder / "empty");
    mkfifo((folder / "pipe").c_str(), 0600);
  }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(folder / name, std::ios::binary) << text;
  }

  std::string read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(folder / name, std::ios::binary).rdbuf();
    return text.str();
  }

  // Runs a shell script in the folder, in which $Q is the command.
  Ran shell(const std::string& script) const {
    const Scratch seen;
    const std::string out = (seen / "out").string(), error = (seen / "error").string();
    const std::string line = "cd '" + (folder / "").string() +
                             "' && Q='" QUELLARD_COMMAND "' && export Q && { " + script + "\n} >" +
                             out + " 2>" + error;
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(out), read(error)};
  }

  // Runs the command in the folder. before: a shell text in front of it.
  Ran run(const std::string& arguments, const std::string& before = "") const {
    return shell(before + " \"$Q\" " + arguments);
  }

  // Runs the command, which must succeed and print no error.
  void runWell(const std::string& arguments) const {
    const Ran ran = run(arguments);
    EXPECT_EQ(ran.status, 0) << arguments;
    EXPECT_EQ(ran.error, "") << arguments;
  }

  // The bytes of in.wav rendered with these arguments.
  std::string rendered(const std::string& arguments) const {
    runWell("render -q in.wav -o out.wav " + arguments);
    return read("out.wav");
  }

  const Scratch folder;
};

// A click as a cabinet changes nothing but the level, which makes pink noise as loud as before.
TEST_F(Command, PlaysThroughTheRig) {
  std::vector<double> click(100);
  click[0] = 0.25;
  writeAudio(folder / "click.wav", {48000, 1, click});
  const auto samples = [&](const std::string& options) {
    rendered("--format double " + options);
    return readAudio(folder / "out.wav").samples;
  };
  const std::vector<double> plain = samples("");
  EXPECT_EQ(samples("--input 0 --gate off --output 0 --cab none"), plain);
  const std::vector<double> through = samples("--cab click.wav --cab-level -6.0206");
  for (std::size_t i = 0; i < plain.size(); ++i) ASSERT_NEAR(through[i], 0.5 * plain[i], 1e-6);
  std::vector<double> pause(48000);
  const std::vector<double> note = pluck(0.5);
  std::copy(note.begin(), note.end(), pause.begin());
  writeAudio(folder / "in.wav", {48000, 1, pause});
  for (const char* block : {"64", "48000"}) {
    const Ran ran = run(std::string("render in.wav -o out.wav --gate -40 --json --block ") + block);
    const auto file = nlohmann::json::parse(ran.out)["files"][0];
    EXPECT_NEAR(file["gate_closed_share"].get<double>(), 0.41, 0.05) << ran.out;
  }
}

TEST_F(Command, EveryFailureIsOneLineAndLeavesNothing) {
  const struct {
    int status;  // 2 wrong usage, 1 trouble with files
    const char* arguments;
    const char* part;
    const char* before = "";
  } cases[] = {
      {2, "", "a command is required: render, sweep, params, "},
      {2, "rendr", "did you mean 'render'"},
      {2, "render in.wav", "--out is required"},
      {2, "render in.wav -o a.wav --gian 5", "did you mean '--gain'"},
      {2, "render in.wav -o a.wav --gain 11", "gain: 11 is outside 0 to 10"},
      {2, "render in.wav -o a.wav --program 17", "outside 1 to 16"},
      {2, "render in.wav -o a.wav --preset 'Warm Jaz'", "did you mean 'Warm Jazz'?"},
      {2, "render in.wav -o a.wav --gate -90", "--gate: -90 is outside -80 to -30"},
      {2, "render in.wav -o a.wav --cab-level 3", "--cab-level needs a cabinet"},
      {2, "render in.wav -o a.wav --cab in.wav --cab-level 25", "25 is outside -24 to 24"},
      {1, "render in.wav -o a.wav --cab gone.wav", "no cabinet: cannot read gone.wav"},
      {1, "render in.wav -o a.wav --cab pipe", "pipe as a cabinet: it is not an ordinary file"},
      {1, "render in.wav -o a.wav --cab note.txt", "no cabinet: cannot read note.txt"},
      {2, "render in.wav -o a.wav --block 0", "--block: 0 is outside"},
      {2, "render in.wav -o a.wav -j 0", "--jobs: 0 is outside"},
      {2, "render in.wav -o a.wav --format pcm17", "did you mean 'pcm16'"},
      {2, "render in.wav -o a.xyz", "file type"},
      {2, "render in.wav -o a.flac --format float", "cannot hold"},
      {2, "render in.wav -o in.wav", "is also an input"},
      {2, "render in.wav -o ''", "--out is given an empty name"},
      {2, "render '' -o a.wav", "IN is given an empty name"},
      {2, "render in.wav -o a.wav --preset ''", "--preset is given an empty name"},
      {2, "render in.wav -o a.wav --gain", "--gain needs a value"},
      {2, "render in.wav -o a.wav --gain 3 --gain 4", "--gain is given more than once"},
      {2, "render in.wav -o a.wav --automation /dev/stdin", "unknown knob 'ga\\x00in', did you",
       "printf '0 ga\\000in 3' |"},
      {2, "render in.wav note.txt -o a.wav", "need a folder"},
      {2, "plot -o a.jpg", ".png"},
      {1, "render none.wav -o a.wav", "no such file"},
      {1, "render note.txt -o a.wav", "cannot read"},
      {1, "render empty -o a.wav", "no audio files in"},
      {1, "render in.wav -o no/a.wav", "no such file"},
      {1, "render in.wav -o a -- -o", "cannot read ./-o"},
      {1, "render in.wav -o a.wav --automation none.txt", "no such file"},
      {1, "render in.wav -o a.wav --automation empty", "cannot read"},
      {1, "render in.wav -o a.wav --plugin note.txt", "cannot load the plug-in"},
      {2, "render - - -o out/", "standard input is given twice"},
      {2, "render - /dev/stdin -o out/", "standard input is given twice"},
      {2, "render pipe pipe -o out/", "can be read only once"},
      {2, "render pipe -o pipe", "is also an input"},
      {2, "render in.wav - -o -", "several results need a folder"},
      {2, "render - -o - --type flc", "file type"},
      {1, "render - -o a.wav", "cannot read standard input: it is empty", "</dev/null"},
      {1, "render - -o a.wav", "cannot read standard input: not an audio file",
       "</dev/zero head -c 99 |"},
      {1, "render - -o a.wav", "not an audio file", "printf FORM |"},
      {1, "render - -o a.wav", "cannot read standard input: it is closed", "<&-"},
      {1, "plot -o a.png", "gnuplot-nox", "PATH=/nowhere"},
      {2, "tune", "IN is required"},
      {2, "tune in.wav --reference 390", "--reference: 390 is outside 400 to 480"},
      {2, "tune in.wav --tuning 'dorp d'", "no tuning 'dorp d', did you mean 'drop d'?"},
      {2, "tune - -", "standard input is given twice"},
      {1, "tune none.wav", "no such file"},
      {1, "tune note.txt", "cannot read note.txt: not an audio file"},
      {1, "tune -", "it is empty", "</dev/null"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.arguments);
    expectFailure(run(test.arguments, test.before), test.status, test.part);
  }
  for (const char* arguments : {"info", "presets --json", "--help", "--version", "presets",
                                "render -q --json in.wav -o out/", "render in.wav -o -"}) {
    SCOPED_TRACE(arguments);
    expectFailure(shell(std::string("$Q ") + arguments + " >/dev/full"), 1,
                  "cannot write standard output: the disk is full");
  }
  expectFailure(shell("$Q presets >&-"), 1, "cannot write standard output: it is closed");
  expectFailure(shell("$Q render -q in.wav -o - >&-"), 1, "standard output: it is closed");
  expectFailure(shell("$Q render -q in.wav -o out/a.wav --plugin none >&-"), 1, "no such file");
  const Ran gone = shell("{ $Q render -q in.wav -o -; echo $? >status; } | :");
  EXPECT_EQ(read("status"), "1\n");
  EXPECT_TRUE(contains(gone.error, "nobody reads it any more")) << gone.error;
  fs::remove(folder / "status");
  EXPECT_EQ(folder.names(), (Names{"empty", "in.wav", "note.txt", "out", "pipe"}));
}

TEST_F(Command, PipesSoundLikeFiles) {
  const std::string expected = rendered("");
  runWell("render -q in.wav -o take.flac --format pcm24");
  runWell("render -q take.flac -o flac.wav");
  const char* const ways[] = {
      "cat in.wav | $Q render -q - -o piped.wav",
      "cat in.wav | $Q render -q /dev/stdin -o piped.wav",
      "$Q render -q - -o piped.wav <in.wav",
      "(head -c 7; sleep 0.1; head -c 90; sleep 0.1; cat) <in.wav | $Q render -q - -o piped.wav",
      "cat in.wav >pipe & $Q render -q pipe -o piped.wav",
      "cat pipe >piped.wav & $Q render -q in.wav -o pipe; wait",
      "bash -c '$Q render -q <(cat in.wav) -o piped.wav'",
      "$Q render -q in.wav -o - >piped.wav",
      "$Q render -q in.wav -o - | cat >piped.wav",
      "$Q render in.wav -o - >piped.wav 2>note.txt",
      "cat in.wav | $Q render -q --json - -o - 2>note.txt | cat >piped.wav",
      "$Q render -q in.wav -o /dev/stdout | cat >piped.wav",
      "script -qec 'cat in.wav | $Q render - -o piped.wav' seen </dev/null >&2",
  };
  for (const char* way : ways) {
    SCOPED_TRACE(way);
    fs::remove(folder / "piped.wav");
    EXPECT_EQ(shell(way).status, 0);
    EXPECT_EQ(read("piped.wav"), expected);
  }
  // What cannot be read from front to back, and what cannot say its length in front.
  EXPECT_EQ(shell("cat take.flac | $Q render -q - -o piped.wav").status, 0);
  EXPECT_EQ(read("piped.wav"), read("flac.wav"));
  std::string endless = read("in.wav");
  const std::size_t data = endless.find("data");
  endless.replace(data + 4, 4, "\xff\xff\xff\xff");
  write("endless.wav", endless);
  for (const char* way :
       {"cat endless.wav | $Q render - -o piped.wav", "$Q render endless.wav -o piped.wav"}) {
    EXPECT_EQ(shell(way).error, "");
    EXPECT_EQ(read("piped.wav"), expected);
  }
  EXPECT_EQ(shell("$Q render -q in.wav -o - --type flac --format pcm24 | cat >piped.flac").status,
            0);
  EXPECT_EQ(read("piped.flac"), read("take.flac"));
  // The result of standard input in a folder is called stdin.
  EXPECT_EQ(shell("cat in.wav | $Q render -q - in.wav -o out -j 2").status, 0);
  EXPECT_EQ(read("out/stdin.wav"), expected);
}

TEST_F(Command, TruncatedFilesArePlayedToTheirEnd) {
  writeAudio(folder / "in.wav", {48000, 1, pluck(1.0)});
  for (const std::string kind :
       {"wav", "aiff", "au", "w64", "rf64", "caf", "iff", "voc", "flac", "ogg", "mp3"}) {
    SCOPED_TRACE(kind);
    const std::string name = "a." + kind;
    runWell("render -q in.wav -o " + name);
    runWell("render -q " + name + " -o out.wav");
    const std::size_t whole = readAudio(folder / "out.wav").samples.size();
    fs::resize_file(folder / name, fs::file_size(folder / name) * 7 / 10);
    expectFailure(run("render -q " + name + " -o out.wav"), 1, name + ": cut short");
    expectFailure(shell("cat " + name + " | $Q render -q - -o piped.wav"), 1, "cut short");
    const std::size_t part = readAudio(folder / "out.wav").samples.size();
    EXPECT_TRUE(part > whole / 4 && part < whole) << part;
    EXPECT_EQ(read("piped.wav"), read("out.wav"));
  }
}

TEST_F(Command, JsonContainsTheListings) {
  const auto parsed = [&](const std::string& arguments) {
    const Ran ran = run(arguments);
    EXPECT_EQ(ran.status, 0) << ran.error;
    return nlohmann::json::parse(ran.out);
  };
  const auto parameters = parsed("params --json --channel vintage --gain 4.39")["parameters"];
  ASSERT_EQ(parameters.size(), 19u);
  EXPECT_EQ(parameters[11]["name"], "vintage_gain");
  EXPECT_EQ(parameters[11]["value"].dump(), "4.39");
  EXPECT_EQ(parameters[18]["value"], "vintage");
  EXPECT_EQ(parsed("programs --json")["programs"].size(), 16u);
  const auto jazz = parsed("presets --json")["presets"][1];
  EXPECT_EQ(jazz["name"], "Warm Jazz");
  EXPECT_EQ(jazz["knobs"]["bass"].dump(), "6.0");
  EXPECT_EQ(parsed("info --json")["parameters"], 20);

  const std::string odd = "a\n\"\x1b[31m\xff.wav";
  fs::copy(folder / "in.wav", folder / odd);
  const Ran ran = run("render --json note.txt in.wav a* -o out");
  expectFailure(ran, 1, "cannot read note.txt: not an audio file");
  const auto files = nlohmann::json::parse(ran.out)["files"];
  ASSERT_EQ(files.size(), 3u);
  EXPECT_TRUE(contains(files[0]["error"], "not an audio file"));
  EXPECT_EQ(files[1]["output"], "out/in.wav");
  EXPECT_EQ(files[1]["seconds"], 0.1);
  EXPECT_TRUE(files[1]["peak_dbfs"].is_number() && files[1]["loudness_lufs"].is_null());
  EXPECT_EQ(files[2]["input"], "a\n\"\x1b[31m\uFFFD.wav");
  EXPECT_EQ(run("render a* -o out").out.substr(0, 26), "out/a\\n\"\\x1b[31m\\xff.wav: ");
}

TEST_F(Command, AFullDiskLeavesTheOldFileAndNothingElse) {
  writeAudio(folder / "in.wav", {48000, 1, pluck(2.0)});
  for (const std::string name : {"out.wav", "out.flac", "out.ogg", "out.mp3"}) {
    write(name, "precious");
    // A limit of 4 KiB, less than any of these files needs.
    expectFailure(run("render in.wav -o " + name, "ulimit -f 8;"), 1,
                  "larger than a file may become");
    EXPECT_EQ(read(name), "precious");
  }
  EXPECT_EQ(folder.names().size(), 8u);
}

TEST_F(Command, AnInterruptedRenderLeavesTheOldFileAndNothingElse) {
  writeAudio(folder / "in.wav", {48000, 1, pluck(300.0)});
  write("out.wav", "precious");
  const Names before = folder.names();
  for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGALRM}) {
    const std::string in = folder / "in.wav", out = folder / "out.wav";
    const pid_t child = fork();
    if (child == 0) {
      const rlimit noCore = {0, 0};
      setrlimit(RLIMIT_CORE, &noCore);
      // Blocks so long that the later signals come before the first one is noticed.
      execl(QUELLARD_COMMAND, "quellard", "render", in.c_str(), "-o", out.c_str(), "--block",
            "48000", nullptr);
      _exit(127);
    }
    int status = 0;
    while (!hasOpenIn(child, folder / ".")) {
      ASSERT_EQ(waitpid(child, &status, WNOHANG), 0) << "ended before it could be interrupted";
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    for (int i = 0; i < 5; ++i) {
      kill(child, number);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(read("out.wav"), "precious");
  }
}

TEST_F(Command, ReplacesFilesWholeAndFollowsLinks) {
  write("out.wav", "old");
  const fs::perms ownersOnly = fs::perms::owner_read | fs::perms::owner_write;
  fs::permissions(folder / "out.wav", ownersOnly);
  fs::create_symlink("out.wav", folder / "link.wav");
  runWell("render -q in.wav -o link.wav");
  EXPECT_TRUE(fs::is_symlink(folder / "link.wav"));
  EXPECT_EQ(readAudio(folder / "out.wav").samples.size(), 4800u);
  EXPECT_EQ(fs::status(folder / "out.wav").permissions(), ownersOnly);

  // Another name of the input's file is refused as output.
  fs::create_hard_link(folder / "in.wav", folder / "alias.wav");
  const std::string before = read("in.wav");
  expectFailure(run("render in.wav -o alias.wav"), 2, "is also");
  EXPECT_EQ(read("in.wav"), before);

  // For a dangling link its target is created, also a folder.
  fs::create_directory(folder / "there");
  fs::create_symlink("there/new.wav", folder / "dangling.wav");
  fs::create_symlink("there/folder", folder / "dangling");
  runWell("render -q in.wav -o dangling.wav");
  runWell("render -q in.wav -o dangling/");
  EXPECT_TRUE(fs::is_symlink(folder / "dangling.wav"));
  EXPECT_EQ(read("there/new.wav"), read("there/folder/in.wav"));
  fs::create_symlink("circle.wav", folder / "circle.wav");
  expectFailure(run("render in.wav -o circle.wav"), 1, "links lead in a circle");

  // The umask is respected, and several commands at once leave a complete file.
  EXPECT_EQ(shell("umask 027; for i in 1 2 3 4 5 6 7 8; do $Q render -q in.wav -o new.wav || "
                  "touch failed & done; wait")
                .error,
            "");
  EXPECT_FALSE(fs::exists(folder / "failed"));
  EXPECT_EQ(read("new.wav"), read("there/new.wav"));
  EXPECT_EQ(fs::status(folder / "new.wav").permissions(), fs::perms(0640));
  for (const std::string& name : folder.names()) EXPECT_FALSE(name.starts_with('.')) << name;
}

TEST_F(Command, TheSummarySaysWhatWasPlayedAndWarnsOfClipping) {
  const std::string loud = " --channel clean --gain 10 --master 10";
  const Ran floats = run("render in.wav -o out.wav" + loud);
  EXPECT_EQ(floats.error, "")
      << "without a terminal there is no progress bar, and floats do not clip";
  EXPECT_TRUE(floats.out.starts_with("out.wav: 0.10 s, ")) << floats.out;
  for (const char* part : {"times real time", "dBFS", "loudness none"}) {
    EXPECT_TRUE(contains(floats.out, part)) << floats.out;
  }
  const Ran integers = run("render -q in.wav -o a.flac" + loud);
  EXPECT_EQ(integers.status, 0);
  EXPECT_EQ(integers.out, "");
  std::int64_t above = 0;
  for (double sample : readAudio(folder / "out.wav").samples) above += std::abs(sample) > 1.0;
  EXPECT_TRUE(contains(integers.error, ": " + std::to_string(above) + " samples clipped")) << above;
  write("moves", "5 gain 5\n");
  EXPECT_TRUE(contains(run("render in.wav -o a.wav --automation moves").error, "after its end"));
}

TEST_F(Command, ATerminalGetsAProgressBar) {
  // Blocks of one sample, so that the render lasts long enough to show a bar on any machine.
  writeAudio(folder / "in.wav", {48000, 1, pluck(15.0)});
  const std::string line = "cd '" + (folder / "").string() +
                           "' && script -qec \"'" QUELLARD_COMMAND
                           "' render in.wav -o out.wav --block 1\" seen >/dev/null </dev/null";
  EXPECT_EQ(std::system(line.c_str()), 0);
  const std::string drawn = read("seen");
  EXPECT_TRUE(contains(drawn, "\r[==="));
  EXPECT_LT(drawn.find("\x1b[K"), drawn.find("times real time")) << "gone before the summary";
}

TEST_F(Command, KnobsOfAllSpellingsReachTheAmplifier) {
  const Ran ran = run("params --channel vintage --gain 7.5 --set modern.bass=2 --set 3=0.125");
  for (const char* row :
       {"   12  vintage_gain      GAIN          7.50  0.00 to 10.00\n",
        "   14  modern_bass       BASS          2.00  0.00 to 10.00\n",
        "    3  clean_mid         MID           1.25  0.00 to 10.00\n",
        "   19  channel           type       VINTAGE  CLEAN, VINTAGE, MODERN\n"}) {
    EXPECT_TRUE(contains(ran.out, row)) << row << ran.out;
  }
  EXPECT_EQ(linesOf(ran.out), 20u);
  EXPECT_EQ(linesOf(run("programs").out), 17u);
  const std::string info = run("info").out;
  for (const char* part :
       {"NEW Quellard", "NvEf", "parameters 1 to 18 flags 4 (float step), step 0.01",
        "flags 2 (integer range), 0 to 2, step 1", "second output      1, the first with 1"}) {
    EXPECT_TRUE(contains(info, part)) << part << info;
  }
  const std::string row = "Warm Jazz                CLEAN        1.00     6.00     6.50     1.50";
  EXPECT_TRUE(contains(run("presets").out, row));

  // All spellings give the same render.
  const std::string hot = rendered("--channel vintage --gain 7.5 --bass 4");
  EXPECT_EQ(rendered("--set 19=0.5 --set vintage_gain=7.5 --set 8=0.4"), hot);
  EXPECT_NE(rendered("--channel vintage --gain 7.4 --bass 4"), hot);
  // Knob names without a channel mean the one that plays first, whatever option selects it and in
  // whichever order.
  write("moves", "0 bass 4\n0 channel vintage\n");
  for (const char* choice : {"--set bass=4 --set channel=vintage", "--automation moves",
                             "--channel clean --bass 4 --set type=vintage"}) {
    EXPECT_EQ(rendered(std::string("--gain 7.5 ") + choice), hot) << choice;
  }
  const std::string jazz = rendered("--preset 'warm jazz'");
  const std::string knobs = "--presence 1 --bass 6 --mid 6.5 --treble 1.5 --master 4.1 --gain 3.5";
  EXPECT_EQ(rendered("--channel clean " + knobs), jazz);
  EXPECT_NE(rendered("--preset 'Warm Jazz' --gain 9"), jazz) << "knobs change a preset's values";
}

TEST_F(Command, AShownPresetIsAPresetFile) {
  const std::string home = "env -u XDG_CONFIG_HOME HOME=" + (folder / "").string();
  fs::create_directories(folder / ".config/quellard/presets");
  const Ran shown = run("presets --show 'warm jazz'", home);
  write(".config/quellard/presets/Mine.txt", shown.out + "clean.gain = 9.25\n");
  write(".config/quellard/presets/Broken.txt", "gain = 5\ngain = loud\n");
  EXPECT_TRUE(contains(run("presets --show mine", home).out, "clean.gain = 9.25\n"));
  write(".config/quellard/presets/Both.txt", "channel = clean\nmodern.mid = 2.9\n");
  const auto both =
      nlohmann::json::parse(run("presets --show both --json", home).out)["presets"][0];
  EXPECT_EQ(both["other_knobs"].dump(), "{\"modern.mid\":2.9}");
  fs::remove(folder / ".config/quellard/presets/Both.txt");
  const Ran listed = run("presets", home);
  expectFailure(listed, 1, "Broken.txt:2: gain: 'loud' is not a number");
  EXPECT_TRUE(contains(listed.out, "\nMine                     CLEAN "));
  EXPECT_TRUE(contains(listed.out, "     9.25  "));
  EXPECT_EQ(linesOf(listed.out), 14u);
  expectFailure(run("presets --show mime", home), 2, "did you mean 'Mine'?");
  EXPECT_EQ(run("render -q in.wav -o mine.wav --preset mine", home).status, 0);
  EXPECT_EQ(read("mine.wav"), rendered("--preset 'Warm Jazz' --gain 9.25"));
}

TEST_F(Command, ManyFilesGiveTheSameBytesOnAnyNumberOfThreads) {
  fs::create_directories(folder / "takes/old");
  for (int i = 0; i < 6; ++i) {
    const std::string take = (i < 4 ? "takes/" : "takes/old/") + std::to_string(i) + ".wav";
    writeAudio(folder / take, {i % 2 == 0 ? 44100 : 48000, 1 + i % 2, pluck(0.2 + 0.1 * i)});
  }
  write("takes/.DS_Store", "no audio");
  const auto render = [&](const std::string& name, const std::string& threads) {
    runWell("render takes -q --set modern.gain=3 --master 3 -o " + name + threads);
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder / name)) {
      const std::string file = fs::relative(entry, folder / name).string();
      if (entry.is_regular_file()) files[file] = read(name + "/" + file);
    }
    return files;
  };
  const auto one = render("one", "");
  EXPECT_EQ(one.size(), 6u);
  EXPECT_GT(readAudio(folder / "one/old/5.wav").samples.size(), 8000u);
  EXPECT_FALSE(contains(one.at("0.wav"), "PEAK")) << "this chunk contains the time of day";
  for (const std::string threads : {"2", "5", "64"}) {
    EXPECT_EQ(render(threads, " -j " + threads), one) << threads;
  }
}

TEST_F(Command, AFailedFileDoesNotStopTheOthersAndClashesAreRefused) {
  writeAudio(folder / "b.wav", {500, 1, {0.0, 0.1}});
  const Ran ran = run("render b.wav in.wav -j 2 -o results");
  expectFailure(ran, 1, "cannot play 500 Hz");
  EXPECT_EQ(linesOf(ran.out), 1u);
  EXPECT_EQ(readAudio(folder / "results/in.wav").samples.size(), 4800u);
  EXPECT_FALSE(fs::exists(folder / "results/b.wav"));

  // The same holds for a file in a folder that is no audio, also if an audio file has the same
  // stem.
  fs::create_directory(folder / "mixed");
  fs::copy(folder / "in.wav", folder / "mixed/in.wav");
  write("mixed/in.txt", "loud!");
  write("mixed/.hidden", "");
  expectFailure(run("render -q mixed -o results2"), 1, "cannot read mixed/in.txt: not an audio");
  EXPECT_EQ(read("results2/in.wav"), read("results/in.wav"));

  fs::create_directory(folder / "other");
  fs::copy(folder / "in.wav", folder / "other/in.wav");
  expectFailure(run("render in.wav other -o results"), 2, "would both become");
  // Results below the input folder are no inputs of the next run.
  for (int i = 0; i < 2; ++i) EXPECT_EQ(linesOf(run("render other -o other/amped").out), 1u);
}

// Two strings one after the other on the right of a stereo file, the second out of tune.
TEST_F(Command, TellsTheNotesOfRecordings) {
  Audio take{.rate = 44100, .channels = 2, .samples = std::vector<double>(2 * 88200)};
  const auto low = sine(44100.0, 73.0, 0.2, 35280), high = sine(44100.0, 440.0, 0.2, 35280);
  for (std::size_t i = 0; i < low.size(); ++i) {
    take.samples[2 * i + 1] = low[i];
    take.samples[2 * (i + 44100) + 1] = high[i];
  }
  writeAudio(folder / "take.wav", take);
  const auto tuned = [&](const std::string& arguments, const char* before = "") {
    const Ran ran = run("tune --json " + arguments, before);
    EXPECT_EQ(ran.error, "") << arguments;
    return nlohmann::json::parse(ran.out);
  };
  const auto notes = tuned("take.wav --tuning 'Drop D'")["files"][0]["notes"];
  ASSERT_EQ(notes.size(), 2u);
  EXPECT_EQ(notes[0]["note"], "D2");
  EXPECT_NEAR(notes[0]["frequency_hz"], 73.0, 0.01);
  EXPECT_NEAR(notes[0]["cents"], -9.84, 0.05);
  EXPECT_EQ(notes[0]["string"], 6);
  EXPECT_NEAR(notes[0]["level_dbfs"], -20.0, 0.5) << "half of 0.2, as the mean of both sides";
  EXPECT_EQ(notes[1]["note"], "A4");
  EXPECT_EQ(notes[1]["string_note"], "E4");
  EXPECT_NEAR(notes[1]["string_cents"], 500.0, 0.1);
  EXPECT_NEAR(notes[1]["start_seconds"], 1.0, 0.05);
  EXPECT_NEAR(notes[1]["seconds"], 0.8, 0.1);

  const auto flat = tuned("- --reference 432", "<take.wav");
  EXPECT_EQ(flat["reference_hz"], 432.0);
  EXPECT_TRUE(flat["tuning"].is_null());
  EXPECT_NEAR(flat["files"][0]["notes"][1]["cents"], 31.8, 0.1);

  writeAudio(folder / "silence.wav", {48000, 1, std::vector<double>(4800)});
  write("cut.wav", read("take.wav").substr(0, 900000));
  const Ran ran = run("tune take.wav note.txt silence.wav cut.wav");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(linesOf(ran.error), 2u) << "note.txt and cut.wav: " << ran.error;
  EXPECT_TRUE(contains(ran.error, "cut.wav: cut short")) << ran.error;
  EXPECT_TRUE(contains(ran.out, "take.wav:\n seconds")) << ran.out;
  EXPECT_TRUE(contains(ran.out, "D2     -9.8     73.00\n")) << ran.out;
  EXPECT_TRUE(contains(ran.out, "silence.wav:\nno note\n")) << ran.out;
}

TEST_F(Command, DrawsPicturesOfBothKinds) {
  runWell("plot -o a.png --rate 44100");
  EXPECT_TRUE(read("a.png").starts_with("\x89PNG"));
  runWell("plot -o a.svg --page spectrum --note 82.4 --set modern.gain=9");
  const std::string hot = read("a.svg");
  EXPECT_TRUE(contains(hot, "82.4 Hz") && contains(hot, "</svg>"));
  runWell("plot -o a.svg --page spectrum --note 82.4 --set modern.gain=1");
  EXPECT_NE(read("a.svg"), hot);
}

}  // namespace
}  // namespace quellard::test
