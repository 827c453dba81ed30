// The importer as a process: programs that crash, hang, babble or are absent, and hosts with habits of their
// own.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "engine/formats/import_answer.h"
#include "engine/formats/import_process.h"
#include "engine/formats/model_import.h"
#include "test/engine/formats/gltf_builder.h"

namespace kiln::engine::formats::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kTriangle = "o Tri\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

size_t OpenDescriptors() {
  const auto all = fs::directory_iterator("/proc/self/fd");
  return static_cast<size_t>(std::distance(fs::begin(all), fs::end(all)));
}

LoadResult ImportTriangle() {
  scene::Scene scene;
  return ImportModel(scene, AsBytes(kTriangle), {}, "obj");
}

// A host whose importer is a shell script.
class ModelProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("kiln_process_" + std::to_string(getpid()));
    fs::create_directories(folder_);
    importer_ = {folder_ / "importer", std::chrono::seconds(20), uint64_t{1} << 33, uint64_t{1} << 24};
    descriptors_ = OpenDescriptors();
  }
  void TearDown() override {
    EXPECT_EQ(OpenDescriptors(), descriptors_) << "a descriptor stayed open";
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
    EXPECT_EQ(errno, ECHILD);
    fs::remove_all(folder_);
  }

  LoadResult Import(const std::string& script, const std::string& model = kTriangle) {
    std::ofstream(importer_.program) << "#!/bin/sh\n" << script << '\n';
    chmod(importer_.program.c_str(), 0700);
    const LoadResult result = ImportModelWith(importer_, scene_, AsBytes(model), "/models/a.obj", "obj");
    EXPECT_TRUE(result.ok() || scene_.Count() == 0);
    return result;
  }
  void ExpectMalformed(const LoadResult& result, const std::string& text) {
    EXPECT_EQ(result.error, LoadError::kParser);
    EXPECT_EQ(result.file, "/models/a.obj");
    EXPECT_EQ(result.text, text);
  }

  fs::path folder_;
  ModelImporter importer_;
  scene::Scene scene_;
  size_t descriptors_ = 0;
};

const std::string kCrashed = "the model importer crashed on this file; it is probably malformed";

TEST_F(ModelProcess, ThatIsMissing) {
  importer_.program = folder_ / "nowhere";
  const LoadResult result = ImportModelWith(importer_, scene_, AsBytes(kTriangle), {}, "obj");
  EXPECT_EQ(result.error, LoadError::kUnsupportedFeature);
  EXPECT_EQ(result.text, "model files are read by the program \"" + importer_.program.string() +
                             "\", which is missing or can't be run");
}

TEST_F(ModelProcess, ThatMayNotBeRun) {
  importer_.program = folder_;
  const LoadResult result = ImportModelWith(importer_, scene_, AsBytes(kTriangle), {}, "obj");
  EXPECT_EQ(result.error, LoadError::kUnsupportedFeature);
  EXPECT_THAT(result.text, HasSubstr("can't start: Permission denied"));
}

TEST_F(ModelProcess, ThatDiesOfASignal) {
  ExpectMalformed(Import("cat > /dev/null; kill -ABRT $$"), kCrashed);
}

TEST_F(ModelProcess, ThatExitsWithAnError) {
  ExpectMalformed(Import("exit 3"), kCrashed);
}

TEST_F(ModelProcess, ThatEndsWithoutReadingItsInput) {
  // Far more than a socket holds: the host is still writing when nobody reads any more.
  ExpectMalformed(Import("exit 0", std::string(size_t{8} << 20, 'v')), kCrashed);
}

TEST_F(ModelProcess, ThatAnswersNonsense) {
  ExpectMalformed(Import("cat > /dev/null; echo hello"), kCrashed);
  ExpectMalformed(Import("cat"), kCrashed);
}

TEST_F(ModelProcess, ThatAnswersByHalf) {
  const std::string answer = EncodeAnswer({}, "[a]\nclass = \"LightPoint\"\n");
  std::ofstream(folder_ / "half", std::ios::binary) << answer.substr(0, answer.size() - 1);
  ExpectMalformed(Import("cat > /dev/null; cat " + (folder_ / "half").string()), kCrashed);
}

TEST_F(ModelProcess, ThatAnswersAndThenFails) {
  std::ofstream(folder_ / "whole", std::ios::binary) << EncodeAnswer({}, "[a]\nclass = \"LightPoint\"\n");
  const std::string script = "cat > /dev/null; cat " + (folder_ / "whole").string();
  ExpectMalformed(Import(script + "; exit 1"), kCrashed);
  EXPECT_TRUE(Import(script).ok());
  EXPECT_EQ(scene_.Count(), 1u);
}

TEST_F(ModelProcess, ThatAnswersWithASceneThatIsNone) {
  std::ofstream(folder_ / "whole", std::ios::binary) << EncodeAnswer({}, "[a]\nclass = \"Unheard\"\n");
  const LoadResult result = Import("cat > /dev/null; cat " + (folder_ / "whole").string());
  EXPECT_EQ(result.error, LoadError::kParser);
  EXPECT_EQ(result.file, "/models/a.obj");
  EXPECT_EQ(result.line, 0u) << "the lines of the answer are not the model's";
  EXPECT_THAT(result.text, HasSubstr("there is no plugin class \"Unheard\""));
}

TEST_F(ModelProcess, ThatNeverEnds) {
  importer_.time = std::chrono::milliseconds(300);
  const std::string late =
      "the model importer was still busy with this file after 0.3 s; it is probably malformed";
  ExpectMalformed(Import("cat > /dev/null; exec sleep 1000"), late);
  ExpectMalformed(Import("exec sleep 1000", std::string(size_t{8} << 20, 'v')), late);
}

TEST_F(ModelProcess, ThatNeverStopsTalking) {
  ExpectMalformed(
      Import("exec yes"),
      "the model importer made a scene of more than 16 MiB of this file; it is probably malformed");
}

TEST_F(ModelProcess, ThatComplains) {
  const fs::path log = folder_ / "log";
  const int saved = dup(STDERR_FILENO);
  ASSERT_NE(freopen(log.c_str(), "w", stderr), nullptr);
  const LoadResult result = Import("echo 'something is wrong' >&2; exit 1");
  dup2(saved, STDERR_FILENO);
  close(saved);
  ExpectMalformed(result, kCrashed);
  EXPECT_EQ(fs::file_size(log), 0u);
}

TEST_F(ModelProcess, InheritsNothing) {
  std::ofstream(folder_ / "whole", std::ios::binary) << EncodeAnswer({}, "");
  const int file = open("/dev/zero", O_RDONLY);  // not closed on exec, as careless hosts leave theirs
  ASSERT_GE(file, 0);
  EXPECT_EQ(dup2(file, 77), 77);
  EXPECT_TRUE(Import("test -e /proc/$$/fd/77 && exit 1; cat " + (folder_ / "whole").string()).ok());
  close(file);
  close(77);
}

TEST_F(ModelProcess, UnderAHostThatIgnoresItsChildren) {
  const auto previous = signal(SIGCHLD, SIG_IGN);
  EXPECT_TRUE(ImportTriangle().ok());
  ExpectMalformed(Import("kill -SEGV $$"), kCrashed);
  signal(SIGCHLD, previous);
}

TEST_F(ModelProcess, UnderAHostThatTakesTheEndOfAllChildren) {
  std::atomic<bool> stop = false;
  std::thread reaper([&stop] {
    while (!stop) {
      if (waitpid(-1, nullptr, WNOHANG) <= 0) std::this_thread::yield();
    }
  });
  for (int round = 0; round < 20; ++round) EXPECT_TRUE(ImportTriangle().ok());
  ExpectMalformed(Import("kill -SEGV $$"), kCrashed);
  stop = true;
  reaper.join();
}

TEST_F(ModelProcess, UnderAHostThatIsInterruptedAllTheTime) {
  struct sigaction action {};
  struct sigaction previous {};
  action.sa_handler = [](int) {};  // without SA_RESTART: every call that waits ends early
  sigaction(SIGUSR1, &action, &previous);
  std::atomic<bool> stop = false;
  std::thread nuisance([&stop, target = pthread_self()] {
    while (!stop) {
      pthread_kill(target, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });
  EXPECT_TRUE(ImportTriangle().ok());
  stop = true;
  nuisance.join();
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST_F(ModelProcess, UnderAHostWithoutStandardStreams) {
  EXPECT_EXIT(
      {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        _exit(ImportTriangle().ok() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(ModelProcess, UnderAHostThatBlocksSignals) {
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  EXPECT_TRUE(ImportTriangle().ok());
  ExpectMalformed(Import("kill -TERM $$; sleep 1000"), kCrashed);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

TEST_F(ModelProcess, OfAnotherWorkingDirectory) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  EXPECT_TRUE(ImportTriangle().ok());
  fs::current_path(before);
}

TEST_F(ModelProcess, RespectsTheLimitOfMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve the address space";
#endif
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -1 -2 -3\n";
  ModelImporter importer = DefaultModelImporter(many.size());
  EXPECT_TRUE(fs::exists(importer.program)) << importer.program;
  importer.memory_bytes = uint64_t{160} << 20;
  const LoadResult result = ImportModelWith(importer, scene_, AsBytes(many), {}, "obj");
  EXPECT_FALSE(result.ok());
  EXPECT_FALSE(result.text.empty());
}

TEST(ModelAnswer, ReadsBackWhole) {
  const std::string bytes = EncodeAnswer({LoadError::kParser, "a.obj", 7, "no"}, "text");
  const auto answer = DecodeAnswer(bytes);
  ASSERT_TRUE(answer.has_value());
  EXPECT_EQ(answer->result.error, LoadError::kParser);
  EXPECT_EQ(answer->result.file, "a.obj");
  EXPECT_EQ(answer->result.line, 7u);
  EXPECT_EQ(answer->result.text, "no");
  EXPECT_EQ(answer->scene, "text");
  for (size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(DecodeAnswer(std::string_view(bytes).substr(0, size)).has_value()) << size;
  }
  EXPECT_FALSE(DecodeAnswer(bytes + "x").has_value());
  std::string unknown = bytes;
  unknown[8] = 77;
  EXPECT_FALSE(DecodeAnswer(unknown).has_value()) << "no such error";
}

TEST(ModelStaging, AsksTheFilterAndMakesNamesUnique) {
  scene::Scene scene;
  ASSERT_TRUE(ImportModel(scene, AsBytes(kTriangle), {}, "obj").ok());
  const size_t count = scene.Count();
  std::vector<std::string> asked;
  const LoadResult result =
      ImportModel(scene, AsBytes(kTriangle), {}, "obj", [&](std::string_view type, std::string_view name) {
        asked.emplace_back(name);
        return type == "LightDome" ? std::nullopt : std::optional(std::string(name));
      });
  ASSERT_TRUE(result.ok()) << result.text;
  EXPECT_EQ(asked.size(), count);
  EXPECT_EQ(scene.Count(), 2 * count - 1);
  EXPECT_NE(scene.FindByName("@defaultCamera"), nullptr);
  EXPECT_NE(scene.FindByName("@defaultCamera_2"), nullptr);
  EXPECT_EQ(scene.FindByName("@defaultLight_2"), nullptr);
}

}  // namespace
}  // namespace kiln::engine::formats::testing
