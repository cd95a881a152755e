// SPDX-License-Identifier: ISC
// The command as a process: what it prints, how it ends, and what it leaves on the disk.
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <thread>

#include "tests/tools/scratch.h"

extern char** environ;

namespace quellard::test {
namespace {

std::string quoted(const fs::path& path) { return "'" + path.string() + "'"; }

std::size_t linesOf(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

void expectFailure(const Ran& ran, int status, const std::string& part) {
  EXPECT_EQ(ran.status, status);
  EXPECT_EQ(linesOf(ran.error), 1u) << ran.error;
  EXPECT_TRUE(ran.error.starts_with("quellard: ")) << ran.error;
  EXPECT_NE(ran.error.find(part), std::string::npos) << ran.error;
}

class Command : public testing::Test {
 protected:
  Command() {
    writeAudio(in, {48000, 1, pluck(0.1)});
    writeText(folder / "note.txt", "no audio");
    fs::create_directory(folder / "empty");
  }

  std::string toOut(const std::string& more) const {
    return "render " + quoted(in) + " -o " + quoted(out) + " " + more;
  }

  const Scratch folder;
  const fs::path in = folder / "in.wav";
  const fs::path out = folder / "out.wav";
};

TEST_F(Command, WrongUsageIsOneLineAndStatusTwo) {
  const std::string input = quoted(in);
  const std::pair<std::string, const char*> cases[] = {
      {"", "subcommand is required"},
      {"rendr", "did you mean 'render'"},
      {"render", "required"},
      {"render " + input, "--output is required"},
      {toOut("--gian 5"), "did you mean '--gain'"},
      {toOut("--gain 11"), "gain: 11 is outside 0 to 10"},
      {toOut("--gain -1"), "gain: -1 is outside 0 to 10"},
      {toOut("--gain loud"), "'loud' is not a number"},
      {toOut("--set vintge.gain=5"), "did you mean 'vintage_gain'"},
      {toOut("--set 6=7.5"), "outside 0 to 1"},
      {toOut("--set gain"), "PARAM=VALUE"},
      {toOut("--channel lead"), "unknown channel 'lead'"},
      {toOut("--program 17"), "outside 1 to 16"},
      {toOut("--program 1.5"), "not a whole number"},
      {toOut("--block 0"), "--block: 0 is outside"},
      {toOut("--tail -1"), "--tail: -1 is outside"},
      {toOut("-j 0"), "--jobs: 0 is outside"},
      {toOut("--format pcm17"), "did you mean 'pcm16'"},
      {"render " + input + " -o " + quoted(folder / "a.xyz"), "file type"},
      {"render " + input + " -o " + quoted(folder / "a.flac") + " --format float", "cannot hold"},
      {"render " + input + " -o " + input, "is also an input"},
      {"plot -o " + quoted(folder / "a.jpg"), ".png"},
      {"plot -o " + quoted(folder / "a.png") + " --page tones", "did you mean 'tone'"},
  };
  for (const auto& [arguments, part] : cases) {
    SCOPED_TRACE(arguments);
    expectFailure(run(arguments), 2, part);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"empty", "in.wav", "note.txt"}));
}

TEST_F(Command, TroubleWithFilesIsOneLineAndStatusOne) {
  const std::string output = " -o " + quoted(out);
  const std::pair<std::string, const char*> cases[] = {
      {"render " + quoted(folder / "none.wav") + output, "No such file"},
      {"render " + quoted(folder / "note.txt") + output, "cannot read"},
      {"render " + quoted(folder / "empty") + output, "no audio files in"},
      {"render " + quoted(in) + " -o " + quoted(folder / "no" / "out.wav"), "No such file"},
      {toOut("--automation " + quoted(folder / "none.txt")), "No such file"},
      {toOut("--automation " + quoted(folder / "empty")), "cannot read"},
      {toOut("--plugin " + quoted(folder / "note.txt")), "cannot load the plug-in"},
      {toOut("--plugin " + quoted(folder / "none.so")), "cannot load the plug-in"},
  };
  for (const auto& [arguments, part] : cases) {
    SCOPED_TRACE(arguments);
    expectFailure(run(arguments), 1, part);
  }
  expectFailure(run("info", R"(sh -c '"$0" "$@" >/dev/full')"), 1, "standard output");
  expectFailure(run("plot -o " + quoted(folder / "a.png"), "PATH=/nowhere"), 1, "gnuplot-nox");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"empty", "in.wav", "note.txt"}));
}

TEST_F(Command, AFullDiskLeavesTheOldFileAndNothingElse) {
  writeAudio(in, {48000, 1, pluck(2.0)});
  for (const char* name : {"out.wav", "out.flac", "out.ogg", "out.mp3"}) {
    const fs::path target = folder / name;
    writeText(target, "precious");
    // Room for 4 KiB, less than any of these files needs.
    const Ran ran = run("render " + quoted(in) + " -o " + quoted(target), "ulimit -f 8;");
    expectFailure(ran, 1, "File too large");
    EXPECT_EQ(readText(target), "precious");
  }
  EXPECT_EQ(folder.names().size(), 7u);
}

TEST_F(Command, AnInterruptedRenderLeavesTheOldFileAndNothingElse) {
  writeAudio(in, {48000, 1, pluck(300.0)});
  writeText(out, "precious");
  for (const int number : {SIGINT, SIGTERM}) {
    const auto before = folder.names();
    std::vector<std::string> words = {QUELLARD_COMMAND, "render", in.string(), "-o", out.string()};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, words[0].c_str(), nullptr, nullptr, arguments.data(), environ),
              0);
    int status = 0;
    while (folder.names() == before) {
      ASSERT_EQ(waitpid(child, &status, WNOHANG), 0) << "ended before it could be interrupted";
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(child, number);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status)) << "exit status " << WEXITSTATUS(status);
    EXPECT_EQ(WTERMSIG(status), number);
    EXPECT_EQ(folder.names(), before);
    EXPECT_EQ(readText(out), "precious");
  }
}

TEST_F(Command, ReplacesFilesWholeAndFollowsLinks) {
  writeText(out, "old");
  fs::permissions(out, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(out, folder / "link.wav");
  runWell("render -q " + quoted(in) + " -o " + quoted(folder / "link.wav"));
  EXPECT_TRUE(fs::is_symlink(folder / "link.wav"));
  EXPECT_EQ(readAudio(out).samples.size(), 4800u);
  EXPECT_EQ(fs::status(out).permissions(), fs::perms::owner_read | fs::perms::owner_write);

  // The same file by another name is still an input.
  fs::create_hard_link(in, folder / "alias.wav");
  const std::string before = readText(in);
  expectFailure(run("render " + quoted(in) + " -o " + quoted(folder / "alias.wav")), 2, "is also");
  ASSERT_EQ(mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
  expectFailure(run("render " + quoted(in) + " -o " + quoted(folder / "pipe.wav")), 1,
                "not an ordinary file");
  EXPECT_EQ(readText(in), before);
}

TEST_F(Command, TheSummarySaysWhatWasPlayedAndWarnsOfClipping) {
  const std::string loud = "--channel clean --gain 10 --master 10";
  const Ran floats = run(toOut(loud));
  EXPECT_EQ(floats.status, 0);
  EXPECT_EQ(floats.error, "") << "no progress bar without a terminal, and floats do not clip";
  EXPECT_EQ(floats.out.find(out.string() + ": 0.10 s, "), 0u) << floats.out;
  for (const char* part : {"times real time", "dBFS", "loudness none"}) {
    EXPECT_NE(floats.out.find(part), std::string::npos) << floats.out;
  }

  std::int64_t above = 0;
  for (double sample : readAudio(out).samples) above += std::abs(sample) > 1.0 ? 1 : 0;
  ASSERT_GT(above, 0);
  const Ran integers =
      run("render -q " + quoted(in) + " -o " + quoted(folder / "a.flac") + " " + loud);
  EXPECT_EQ(integers.status, 0);
  EXPECT_EQ(integers.out, "");
  EXPECT_NE(integers.error.find(": " + std::to_string(above) + " samples clipped"),
            std::string::npos)
      << integers.error;

  writeText(folder / "moves", "5 gain 5\n");
  EXPECT_NE(run(toOut("--automation " + quoted(folder / "moves"))).error.find("after its end"),
            std::string::npos);
}

TEST_F(Command, ATerminalGetsAProgressBar) {
  writeAudio(in, {48000, 1, pluck(60.0)});
  const fs::path seen = folder / "seen";
  const std::string line = "script -qec \"'" QUELLARD_COMMAND "' " + toOut("") + "\" " +
                           quoted(seen) + " >/dev/null </dev/null";
  EXPECT_EQ(std::system(line.c_str()), 0);
  const std::string drawn = readText(seen);
  EXPECT_NE(drawn.find("\r[==="), std::string::npos);
  EXPECT_LT(drawn.find("\x1b[K"), drawn.find("times real time")) << "gone before the summary";
}

TEST_F(Command, KnobsOfAllSpellingsReachTheAmplifier) {
  const Ran ran = run("params --channel vintage --gain 7.5 --set modern.bass=2 --set 3=0.125");
  EXPECT_EQ(ran.status, 0);
  const std::pair<int, const char*> rows[] = {
      {12, "   12  vintage_gain      GAIN          7.50  0.00 to 10.00\n"},
      {14, "   14  modern_bass       BASS          2.00  0.00 to 10.00\n"},
      {3, "    3  clean_mid         MID           1.25  0.00 to 10.00\n"},
      {19, "   19  channel           type       VINTAGE  CLEAN, VINTAGE, MODERN\n"},
  };
  for (const auto& [index, row] : rows) {
    EXPECT_NE(ran.out.find(row), std::string::npos) << index << '\n' << ran.out;
  }
  EXPECT_EQ(linesOf(ran.out), 20u);
  EXPECT_EQ(linesOf(run("programs").out), 17u);
  EXPECT_NE(run("info").out.find("NEW Quellard"), std::string::npos);

  // What it renders is what these knobs say, whichever way they are written.
  runWell(toOut("-q --channel vintage --gain 7.5 --bass 4"));
  const std::string first = readText(out);
  runWell(toOut("-q --set 19=0.5 --set vintage_gain=7.5 --set 8=0.4"));
  EXPECT_EQ(readText(out), first);
  runWell(toOut("-q --channel vintage --gain 7.4 --bass 4"));
  EXPECT_NE(readText(out), first);
}

TEST_F(Command, APresetSoundsLikeTheKnobsThatItLists) {
  runWell(toOut("-q --preset 'warm jazz'"));
  const std::string preset = readText(out);
  const std::string row = "Warm Jazz                CLEAN        2.00     6.00     6.00     3.00";
  EXPECT_NE(run("presets").out.find(row), std::string::npos);
  const std::string knobs = "--presence 2 --bass 6 --mid 6 --treble 3 --master 4.39 --gain 3.5";
  runWell(toOut("-q --channel clean " + knobs));
  EXPECT_EQ(readText(out), preset);
  runWell(toOut("-q --preset 'Warm Jazz' --gain 9"));
  EXPECT_NE(readText(out), preset) << "knobs turn on from the preset";
  expectFailure(run(toOut("--preset 'Warm Jaz'")), 2, "did you mean 'warm jazz'?");
}

TEST_F(Command, ManyFilesGiveTheSameBytesOnAnyNumberOfThreads) {
  fs::create_directories(folder / "takes" / "old");
  for (int i = 0; i < 6; ++i) {
    const fs::path take = folder / (i < 4 ? "takes" : "takes/old") / (std::to_string(i) + ".wav");
    writeAudio(take, {i % 2 == 0 ? 44100 : 48000, 1 + i % 2, pluck(0.2 + 0.1 * i)});
  }
  writeText(folder / "takes" / "readme", "no audio");
  const std::string knobs = " -q --set modern.gain=3 --master 3";
  const auto collect = [&](const std::string& name) {
    std::string all;
    for (int i = 0; i < 6; ++i) {
      const std::string file = (i < 4 ? "" : "old/") + std::to_string(i) + ".wav";
      EXPECT_GT(readAudio(folder / name / file).samples.size(), 8000u) << file;
      all += readText(folder / name / file);
    }
    return all;
  };
  runWell("render " + quoted(folder / "takes") + " -o " + quoted(folder / "one") + knobs);
  const std::string one = collect("one");
  EXPECT_EQ(one.find("PEAK"), std::string::npos) << "a chunk that holds the time of day";
  for (const char* threads : {"2", "5", "64"}) {
    runWell("render " + quoted(folder / "takes") + " -o " + quoted(folder / threads) + knobs +
            " -j " + threads);
    EXPECT_EQ(collect(threads), one) << threads;
  }
}

TEST_F(Command, AFailedFileDoesNotStopTheOthersAndClashesAreRefused) {
  writeAudio(folder / "b.wav", {500, 1, {0.0, 0.1}});
  const Ran ran = run("render " + quoted(folder / "b.wav") + " " + quoted(in) + " -j 2 -o " +
                      quoted(folder / "results"));
  expectFailure(ran, 1, "cannot play 500 Hz");
  EXPECT_EQ(linesOf(ran.out), 1u);
  EXPECT_EQ(readAudio(folder / "results" / "in.wav").samples.size(), 4800u);
  EXPECT_FALSE(fs::exists(folder / "results" / "b.wav"));

  fs::create_directory(folder / "other");
  fs::copy(in, folder / "other" / "in.wav");
  expectFailure(run("render " + quoted(in) + " " + quoted(folder / "other") + " -o " +
                    quoted(folder / "results")),
                2, "would both become");
  // Results below the input folder are not taken for takes the next time.
  for (int i = 0; i < 2; ++i) {
    const Ran again =
        run("render " + quoted(folder / "other") + " -o " + quoted(folder / "other" / "amped"));
    EXPECT_EQ(linesOf(again.out), 1u) << again.error;
  }
}

TEST_F(Command, DrawsPicturesOfBothKinds) {
  const fs::path png = folder / "a.png";
  runWell("plot -o " + quoted(png) + " --rate 44100");
  EXPECT_TRUE(readText(png).starts_with("\x89PNG"));
  const fs::path svg = folder / "a.svg";
  runWell("plot -o " + quoted(svg) + " --page spectrum --note 82.4 --set modern.gain=9");
  const std::string text = readText(svg);
  EXPECT_NE(text.find("82.4 Hz"), std::string::npos);
  EXPECT_NE(text.find("</svg>"), std::string::npos);
  runWell("plot -o " + quoted(svg) + " --page spectrum --note 82.4 --set modern.gain=1");
  EXPECT_NE(readText(svg), text);
}

}  // namespace
}  // namespace quellard::test
