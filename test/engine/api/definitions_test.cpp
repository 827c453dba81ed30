// What an instance, a class and a definition tell about their properties, for every class that there is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "test/engine/api/host.h"
#include "test/engine/api/stream_builder.h"

namespace kiln::engine::test {
namespace {

const double kDirect = 0;

std::vector<std::string> Take(KilnStringVector vector) {
  std::vector<std::string> texts;
  for (int32_t i = 0; i < getVectorSize(vector); ++i) texts.emplace_back(getVectorElement(vector, i));
  releaseVector(vector);
  return texts;
}

class Definitions : public ::testing::Test {
 protected:
  KilnPluginId New(const char* name, const char* class_name) {
    KilnPluginId id = KILN_NO_PLUGIN;
    EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, name, class_name, 1, &id), 0);
    return id;
  }
  KilnPropertyDefinition Of(const char* class_name, const char* property) {
    return Kiln_KilnRenderer_getPropertyDefinitionFromClass(renderer, class_name, property);
  }

  const ScopedRenderer renderer;
};

TEST_F(Definitions, AreFoundByClassInstanceAndName) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  KilnPropertyDefinition definition = Of("LightPoint", "intensity");
  ASSERT_NE(definition, nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyDefinitionByID(renderer, lamp, "intensity"), definition);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyDefinition(renderer, "lamp", "intensity"), definition);
  EXPECT_EQ(Of("LightPoint", "nonsense"), nullptr);
  EXPECT_EQ(Of("NoSuchClass", "intensity"), nullptr);
  EXPECT_EQ(Of("LightPoint", nullptr), nullptr);
  EXPECT_EQ(Of(nullptr, "intensity"), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyDefinitionByID(renderer, 123456, "intensity"), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyDefinition(renderer, "nobody", "intensity"), nullptr);
}

TEST_F(Definitions, TellWhatTheTableSays) {
  KilnPropertyDefinition definition = Of("SettingsSampler", "bucketSize");
  EXPECT_STREQ(Kiln_PluginUtils_getPropertyName(definition), "bucketSize");
  EXPECT_STREQ(Kiln_PluginUtils_getPropertyDescription(definition), "Side of a bucket. 4 to 1024 px.");
  const auto description = [&](const char* type, const char* property) {
    return std::string(Kiln_PluginUtils_getPropertyDescription(Of(type, property)));
  };
  EXPECT_EQ(description("CameraPerspective", "fov"), "Field of view. 0.01 to 179 deg.");
  EXPECT_EQ(description("CameraPerspective", "nearClip"), "Nothing nearer is seen. At least 0 m.");
  EXPECT_EQ(description("GeomStaticMesh", "faces").find(" to "), std::string::npos);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyDescription(nullptr), nullptr);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyType(definition), 0);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyElementsCount(definition), -1);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyAliases(definition), nullptr);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyDeprecation(definition), nullptr);
  EXPECT_STREQ(Kiln_PluginUtils_getPropertyUIGuides(definition), "min=4.0, max=1024.0, unit=px");
  EXPECT_EQ(Kiln_PluginUtils_getPropertyUIGuides(Of("GeomStaticMesh", "faces")), nullptr);
  uint32_t* stream = nullptr;
  ASSERT_NE(Kiln_PluginUtils_getPropertyDefaultValue(definition, &stream), 0);
  EXPECT_EQ(stream[0], 0u);
  EXPECT_EQ(stream[1], 32u);
  C_memory_free(stream);
}

TEST_F(Definitions, ThatAreNoneAnswerNothing) {
  uint32_t word = 0;
  uint32_t* stream = &word;
  EXPECT_EQ(Kiln_PluginUtils_getPropertyDefaultValue(nullptr, &stream), 0);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyDefaultValue(Of("LightPoint", "color"), nullptr), 0);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyType(nullptr), 10000);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyElementsCount(nullptr), -1);
}

TEST_F(Definitions, GpuSupportIsAskedWithTheirOwnClass) {
  KilnPropertyDefinition definition = Of("LightPoint", "intensity");
  const int32_t support = Kiln_PluginUtils_getPropertyGpuSupport(renderer, "LightPoint", definition);
  EXPECT_GE(support, 0);
  EXPECT_LE(support, 2);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyGpuSupport(renderer, "LightDome", definition), 2);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyGpuSupport(renderer, nullptr, definition), 2);
  EXPECT_EQ(Kiln_PluginUtils_getPropertyGpuSupport(nullptr, "LightPoint", definition), 2);
}

// The stream as bytes; its length is that of the same value read from an instance.
std::vector<char> Default(KilnPropertyDefinition definition, size_t size) {
  uint32_t* stream = nullptr;
  if (!Kiln_PluginUtils_getPropertyDefaultValue(definition, &stream)) return {};
  std::vector<char> bytes(reinterpret_cast<char*>(stream), reinterpret_cast<char*>(stream) + size);
  C_memory_free(stream);
  return bytes;
}

std::vector<char> Get(KilnRendererHandle renderer, KilnPluginId id, const char* property) {
  uint32_t* stream = nullptr;
  int32_t size = 0;
  Kiln_getPropertyByteArrayByID(renderer, id, property, &stream, &size, kDirect);
  std::vector<char> bytes(reinterpret_cast<char*>(stream), reinterpret_cast<char*>(stream) + size);
  C_memory_free(stream);
  return bytes;
}

int32_t Set(KilnRendererHandle renderer, KilnPluginId id, const char* property,
            const std::vector<char>& bytes, double time) {
  return Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(renderer, id, property, bytes.data(), time, 1);
}

TEST_F(Definitions, EveryClassTellsTheSameThreeWays) {
  const std::vector<std::string> classes = Take(Kiln_KilnRenderer_getPluginClassNames(renderer));
  ASSERT_GE(classes.size(), 18u);
  EXPECT_EQ(Kiln_KilnRenderer_getPluginClassNamesCount(renderer), static_cast<int32_t>(classes.size()));
  size_t properties = 0;
  for (const std::string& name : classes) {
    const KilnPluginId id = New(nullptr, name.c_str());
    const auto names = Take(Kiln_KilnRenderer_getClassPropertyNames(renderer, name.c_str()));
    EXPECT_EQ(Take(Kiln_KilnRenderer_getPropertyNamesByID(renderer, id)), names) << name;
    for (const std::string& property : names) {
      SCOPED_TRACE(name + "." + property);
      KilnPropertyDefinition definition = Of(name.c_str(), property.c_str());
      ASSERT_NE(definition, nullptr);
      EXPECT_EQ(Kiln_KilnRenderer_getPropertyDefinitionByID(renderer, id, property.c_str()), definition);
      EXPECT_EQ(Kiln_PluginUtils_getPropertyName(definition), property);
      ASSERT_NE(Kiln_PluginUtils_getPropertyDescription(definition), nullptr);
      EXPECT_NE(Kiln_PluginUtils_getPropertyType(definition), 10000);
      const std::vector<char> value = Get(renderer, id, property.c_str());
      ASSERT_FALSE(value.empty());
      EXPECT_EQ(Default(definition, value.size()), value) << "a new instance has the default";
      ++properties;
    }
  }
  EXPECT_GT(properties, 100u);
}

TEST_F(Definitions, EveryPropertyTakesBackWhatItGives) {
  for (const std::string& name : Take(Kiln_KilnRenderer_getPluginClassNames(renderer))) {
    const KilnPluginId id = New(nullptr, name.c_str());
    for (const std::string& property : Take(Kiln_KilnRenderer_getPropertyNamesByID(renderer, id))) {
      SCOPED_TRACE(name + "." + property);
      const char* key = property.c_str();
      const std::vector<char> value = Get(renderer, id, key);
      EXPECT_EQ(Set(renderer, id, key, value, 3), 0);
      EXPECT_EQ(Get(renderer, id, key), value);
      char* text = Kiln_KilnRenderer_getPropertyValueByID(renderer, id, key, 3);
      ASSERT_NE(text, nullptr);
      EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTimeByID(renderer, id, key, text, 5, 1), 0) << text;
      EXPECT_EQ(Get(renderer, id, key), value) << text;
      C_memory_free(text);
    }
  }
}

// A host goes on with these records whether they were filled or not.
TEST_F(Definitions, RecordsOfScannedMaterialsAreNeverLeftUnwritten) {
  ScannedMaterialParams params;
  std::memset(&params, 0x55, sizeof(params));
  Kiln_BRDFScannedParams_initialize(&params, sizeof(params));
  KiScansPreset preset;
  std::memset(&preset, 0x55, sizeof(preset));
  Kiln_KiScansPresets_reset(&preset, sizeof(preset));
  const auto is_written = [](const auto& record) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    return std::none_of(bytes, bytes + sizeof(record), [](unsigned char byte) { return byte == 0x55; });
  };
  EXPECT_TRUE(is_written(params));
  EXPECT_TRUE(is_written(preset));
}

}  // namespace
}  // namespace kiln::engine::test
