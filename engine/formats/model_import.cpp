// Model files are read by a program of its own, whose answer is staged here.
#include "engine/formats/model_import.h"

#include <fmt/format.h>

#include "engine/formats/import_answer.h"
#include "engine/formats/import_process.h"
#include "engine/formats/load_stage.h"
#include "engine/formats/model_import_failure.h"
#include "engine/formats/scene_text.h"

namespace kiln::engine::formats {
namespace {

#ifdef _WIN32
constexpr const char* kProgram = "kiln-import.exe";
#else
constexpr const char* kProgram = "kiln-import";
#endif
constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;
constexpr const char* kProbablyMalformed = "it is probably malformed";

std::vector<std::string> Arguments(const ModelImporter& importer, size_t model_bytes,
                                   const std::filesystem::path& file, std::string_view extension_hint) {
  // A second more than the clock's, so that a busy program is told from one that crashed.
  const auto seconds = std::chrono::ceil<std::chrono::seconds>(importer.time).count() + 1;
  return {std::to_string(model_bytes), std::to_string(seconds), std::to_string(importer.memory_bytes),
          file.string(), std::string(extension_hint)};
}

[[noreturn]] void Fail(const ModelImporter& importer, const ProcessResult& run) {
  switch (run.end) {
    case ProcessEnd::kMissing:
      throw ImportFailure(
          LoadError::kUnsupportedFeature,
          fmt::format("model files are read by the program \"{}\", which is missing or can't be run",
                      importer.program.string()));
    case ProcessEnd::kNotStarted:
      throw ImportFailure(
          LoadError::kUnsupportedFeature,
          fmt::format("the model importer \"{}\" can't start: {}", importer.program.string(), run.reason));
    case ProcessEnd::kTimeOut:
      throw ImportFailure(fmt::format("the model importer was still busy with this file after {} s; {}",
                                      std::chrono::duration<double>(importer.time).count(),
                                      kProbablyMalformed));
    case ProcessEnd::kTooMuchOutput:
      throw ImportFailure(fmt::format("the model importer made a scene of more than {} MiB of this file; {}",
                                      importer.output_bytes / kMiB, kProbablyMalformed));
    default:
      throw ImportFailure(fmt::format("the model importer crashed on this file; {}", kProbablyMalformed));
  }
}

LoadResult StageAnswer(LoadStage& stage, const ImportAnswer& answer, const std::filesystem::path& file) {
  if (!answer.result.ok()) return answer.result;
  // A parent of nothing is nothing, and of a bare name it is the working directory.
  std::filesystem::path folder = file.parent_path();
  if (!file.empty() && folder.empty()) folder = ".";
  const LoadResult staged = StageText(stage, answer.scene, folder, {}, file.string());
  // Its lines are not the model's.
  if (!staged.ok())
    throw ImportFailure(fmt::format("the model importer made no scene of it: {}", staged.text));
  return answer.result;
}

LoadResult StageModelWith(const ModelImporter& importer, LoadStage& stage, std::span<const std::byte> bytes,
                          const std::filesystem::path& file, std::string_view extension_hint) {
  return GuardImport(file.string(), [&]() -> LoadResult {
    if (bytes.empty()) throw ImportFailure("the file is empty");
    const ProcessResult run =
        RunProcess(importer.program, Arguments(importer, bytes.size(), file, extension_hint), bytes,
                   {importer.time, importer.output_bytes});
    const auto answer = run.end == ProcessEnd::kOk ? DecodeAnswer(run.output) : std::nullopt;
    if (!answer) Fail(importer, run);
    return StageAnswer(stage, *answer, file);
  });
}

}  // namespace

ModelImporter DefaultModelImporter(uint64_t model_bytes) {
  // Small files may draw in large ones beside them, so a good part does not depend on the size. An importer
  // reads 10 MB a second or more, and its structures take some 10 bytes for one of the file.
  return {.program = OwnFolder() / kProgram,
          .time = std::chrono::seconds(120) + std::chrono::seconds(model_bytes / kMiB),
          .memory_bytes = 8 * kGiB + 32 * model_bytes,
          .output_bytes = 4 * kGiB + 32 * model_bytes};
}

LoadResult StageModel(LoadStage& stage, std::span<const std::byte> bytes, const std::filesystem::path& file,
                      std::string_view extension_hint) {
  return StageModelWith(DefaultModelImporter(bytes.size()), stage, bytes, file, extension_hint);
}

LoadResult ImportModelWith(const ModelImporter& importer, scene::Scene& scene,
                           std::span<const std::byte> bytes, const std::filesystem::path& file,
                           std::string_view extension_hint, const scene::LoadFilter& filter) {
  LoadStage stage{scene};
  LoadResult staged = StageModelWith(importer, stage, bytes, file, extension_hint);
  return staged.ok() ? CommitStage(stage, filter, std::move(staged)) : staged;
}

LoadResult ImportModel(scene::Scene& scene, std::span<const std::byte> bytes,
                       const std::filesystem::path& file, std::string_view extension_hint,
                       const scene::LoadFilter& filter) {
  return ImportModelWith(DefaultModelImporter(bytes.size()), scene, bytes, file, extension_hint, filter);
}

}  // namespace kiln::engine::formats
