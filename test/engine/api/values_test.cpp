// Property values through the entry points: streams and texts in, streams and texts out, times, refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>

#include "test/engine/api/host.h"
#include "test/engine/api/stream_builder.h"

namespace kiln::engine::test {
namespace {

const double kOmitted = std::bit_cast<double>(KILN_TIME_OMITTED_BITS);
const double kDirect = std::bit_cast<double>(KILN_TIME_DIRECT_BITS);

// The codes that the setters answer.
constexpr int32_t kUnknownPlugin = -2;
constexpr int32_t kUnknownProperty = -3;
constexpr int32_t kWrongType = -4;
constexpr int32_t kRefusedValue = -5;
constexpr int32_t kMalformed = -6;
constexpr int32_t kBadTime = -7;

Stream Number(double number) {
  return Stream().Word(2).Double(number);
}
Stream FloatOf(float number) {
  return Stream().Word(1).Float(number);
}
Stream Reference(KilnPluginId id) {
  return Stream().Word(10).Long(id);
}

class Values : public ::testing::Test {
 protected:
  KilnPluginId New(const char* name, const char* class_name) {
    KilnPluginId id = KILN_NO_PLUGIN;
    EXPECT_EQ(Kiln_KilnRenderer_newPlugin(renderer, name, class_name, 1, &id), 0);
    return id;
  }
  int32_t Set(KilnPluginId id, const char* property, const Stream& stream, double time = kDirect) {
    return Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(renderer, id, property, stream.data(), time, 1);
  }
  int32_t SetText(KilnPluginId id, const char* property, const char* text, double time = kDirect) {
    return Kiln_KilnRenderer_setPropertyValueAtTimeByID(renderer, id, property, text, time, 1);
  }
  // The bytes of the stream; empty when there is none.
  std::vector<char> Get(KilnPluginId id, const char* property, double time = kDirect) {
    uint32_t* stream = nullptr;
    int32_t size = -1;
    const int32_t any = Kiln_getPropertyByteArrayByID(renderer, id, property, &stream, &size, time);
    EXPECT_EQ(any != 0, stream != nullptr);
    std::vector<char> bytes;
    if (stream) bytes.assign(reinterpret_cast<char*>(stream), reinterpret_cast<char*>(stream) + size);
    C_memory_free(stream);
    return bytes;
  }
  std::string GetText(KilnPluginId id, const char* property, double time = kDirect) {
    char* text = Kiln_KilnRenderer_getPropertyValueByID(renderer, id, property, time);
    const std::string copy = text ? text : "(null)";
    C_memory_free(text);
    return copy;
  }
  std::vector<double> Keys(KilnPluginId id, const char* property) {
    double* times = nullptr;
    const int32_t count = Kiln_KilnRenderer_getPropertyKeyframeTimesByID(renderer, id, property, &times);
    std::vector<double> keys(times, times + std::max(count, 0));
    C_memory_free(times);
    return keys;
  }
  uint64_t ChangeIndex() { return Kiln_KilnRenderer_getChangeIndex(renderer); }

  const ScopedRenderer renderer;
};

TEST_F(Values, AStreamIsReadBackInTheDeclaredType) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(1).bytes()) << "the default";
  EXPECT_EQ(Set(lamp, "intensity", Stream().Word(0).Int(3)), 0);
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(3).bytes());
  EXPECT_EQ(Set(lamp, "enabled", Stream().Word(0).Int(0)), 0);
  EXPECT_EQ(Get(lamp, "enabled"), Stream().Word(3).Word(0).bytes());
  EXPECT_EQ(Set(lamp, "color", Stream().Word(6).Floats(0.25, 0.5, 1, 0.5)), 0);
  EXPECT_EQ(Get(lamp, "color"), Stream().Word(5).Floats(0.25, 0.5, 1).bytes());
  const Stream transform =
      Stream().Word(28).Floats(1, 0, 0, 0, 1, 0, 0, 0, 1).Double(1e9 + 0.25).Double(2).Double(3);
  EXPECT_EQ(Set(lamp, "transform", transform), 0);
  EXPECT_EQ(Get(lamp, "transform"), transform.bytes());
}

TEST_F(Values, AMeshIsBuiltFromLists) {
  const KilnPluginId mesh = New("mesh", "GeomStaticMesh");
  const std::vector<float> vertices{0, 0, 0, 1, 0, 0, 0, 1, 0};
  EXPECT_EQ(Set(mesh, "vertices", Stream().Word(2004).Word(3).Pointer(vertices.data())), 0);
  EXPECT_EQ(Set(mesh, "faces", Stream().Word(100).Word(3).Int(0).Int(1).Int(2)), 0);
  const Stream list = Stream().Word(104).Word(3).Floats(0, 0, 0, 1, 0, 0, 0, 1, 0);
  EXPECT_EQ(Get(mesh, "vertices"), list.bytes());
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyElementsCountByID(renderer, mesh, "vertices"), 3);
  EXPECT_EQ(Set(mesh, "normals", Stream().Word(2001).Word(9).Pointer(vertices.data())), 0) << "flat floats";
  EXPECT_EQ(Get(mesh, "normals"), list.bytes());
}

TEST_F(Values, AnInstanceRefersToOthersAndToTheirOutputs) {
  const KilnPluginId mesh = New("mesh", "GeomStaticMesh");
  const KilnPluginId object = New("object", "GeomInstance");
  const KilnPluginId bitmap = New("bitmap", "TextureBitmap");
  const KilnPluginId material = New("material", "MaterialPrincipled");
  EXPECT_EQ(Get(object, "geometry"), Reference(KILN_NO_PLUGIN).bytes());
  EXPECT_EQ(Set(object, "geometry", Reference(mesh)), 0);
  EXPECT_EQ(Get(object, "geometry"), Reference(mesh).bytes());
  const Stream output = Stream().Word(210).Long(bitmap).Word(2);
  EXPECT_EQ(Set(material, "roughness", output), 0);
  EXPECT_EQ(Get(material, "roughness"), output.bytes());
  EXPECT_EQ(GetText(material, "roughness"), "bitmap::red");
  EXPECT_EQ(Set(object, "geometry", Reference(KILN_NO_PLUGIN)), 0);
  EXPECT_EQ(Get(object, "geometry"), Reference(KILN_NO_PLUGIN).bytes());
}

TEST_F(Values, AReferenceToAPluginThatIsGoneReadsAsNone) {
  const KilnPluginId mesh = New("mesh", "GeomStaticMesh");
  const KilnPluginId object = New("object", "GeomInstance");
  ASSERT_EQ(Set(object, "geometry", Reference(mesh)), 0);
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, mesh, 1), 0);
  EXPECT_EQ(Get(object, "geometry"), Reference(KILN_NO_PLUGIN).bytes());
  EXPECT_EQ(GetText(object, "geometry"), "");
  EXPECT_EQ(Set(object, "geometry", Reference(mesh)), kRefusedValue) << "and cannot be set";
}

TEST_F(Values, ReplacingRedirectsEveryReference) {
  const KilnPluginId a = New("a", "GeomStaticMesh");
  const KilnPluginId b = New("b", "GeomStaticMesh");
  const KilnPluginId one = New("one", "GeomInstance");
  const KilnPluginId two = New("two", "GeomInstance");
  ASSERT_EQ(Set(one, "geometry", Reference(a)), 0);
  ASSERT_EQ(Set(two, "geometry", Reference(a), 5), 0);
  EXPECT_EQ(Kiln_KilnRenderer_replacePluginByID(renderer, a, b, 1), 0);
  EXPECT_EQ(Get(one, "geometry"), Reference(b).bytes());
  EXPECT_EQ(Get(two, "geometry", 5), Reference(b).bytes()) << "a key frame as well";
  EXPECT_EQ(Kiln_KilnRenderer_replacePluginByID(renderer, b, KILN_NO_PLUGIN, 1), 0);
  EXPECT_EQ(Get(one, "geometry"), Reference(KILN_NO_PLUGIN).bytes());
}

TEST_F(Values, TextsAreReadAgainstTheType) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  const KilnPluginId material = New("material", "MaterialPrincipled");
  New("bitmap", "TextureBitmap");
  EXPECT_EQ(SetText(lamp, "intensity", "2.5"), 0);
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(2.5F).bytes());
  EXPECT_EQ(GetText(lamp, "intensity"), "2.5");
  EXPECT_EQ(SetText(lamp, "color", "1, 0.5, 0"), 0);
  EXPECT_EQ(GetText(lamp, "color"), "1.0 0.5 0.0");
  EXPECT_EQ(SetText(lamp, "enabled", "false"), 0);
  EXPECT_EQ(GetText(lamp, "enabled"), "false");
  EXPECT_EQ(SetText(material, "baseColor", "bitmap"), 0);
  EXPECT_EQ(GetText(material, "baseColor"), "bitmap");
  EXPECT_EQ(SetText(material, "baseColor", ""), 0);
  EXPECT_EQ(SetText(lamp, "intensity", "bright"), kWrongType);
  EXPECT_EQ(SetText(material, "baseColor", "no_such_texture"), kWrongType);
  EXPECT_EQ(SetText(lamp, "intensity", nullptr), kMalformed);
  EXPECT_EQ(GetText(lamp, "intensity"), "2.5") << "a refusal changes nothing";
}

TEST_F(Values, NamesWorkAsIdsDo) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTime(renderer, "lamp", "intensity", "4", kDirect, 1), 0);
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(4).bytes());
  const Stream five = Number(5);
  EXPECT_EQ(
      Kiln_KilnRenderer_setPropertyBytesValueAtTime(renderer, "lamp", "intensity", five.data(), kDirect, 1),
      0);
  uint32_t* stream = nullptr;
  EXPECT_NE(Kiln_getPropertyByteArray(renderer, "lamp", "intensity", &stream, nullptr, kDirect), 0);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(std::memcmp(stream, FloatOf(5).data(), 8), 0);
  C_memory_free(stream);
  char* text = Kiln_KilnRenderer_getPropertyValue(renderer, "lamp", "intensity", kDirect);
  EXPECT_STREQ(text, "5.0");
  C_memory_free(text);
  EXPECT_EQ(Kiln_KilnRenderer_getPropertyValue(renderer, "nobody", "intensity", kDirect), nullptr);
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyValueAtTime(renderer, "nobody", "intensity", "4", kDirect, 1),
            kUnknownPlugin);
}

TEST_F(Values, ARefusalSaysWhy) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  const KilnPluginId object = New("object", "GeomInstance");
  const uint64_t before = ChangeIndex();
  EXPECT_EQ(Set(123456, "intensity", Number(1)), kUnknownPlugin);
  EXPECT_EQ(Set(0, "intensity", Number(1)), kUnknownPlugin);
  EXPECT_EQ(Set(KILN_NO_PLUGIN, "intensity", Number(1)), kUnknownPlugin);
  EXPECT_EQ(Set(lamp, "nonsense", Number(1)), kUnknownProperty);
  EXPECT_EQ(Set(lamp, nullptr, Number(1)), kUnknownProperty);
  EXPECT_EQ(Set(lamp, "intensity", Stream().Word(4).Floats(1, 2, 3)), kWrongType);
  EXPECT_EQ(Set(object, "geometry", Number(1)), kWrongType);
  EXPECT_EQ(Set(object, "geometry", Reference(123456)), kRefusedValue);
  EXPECT_EQ(Set(object, "geometry", Stream().Word(210).Long(lamp).Word(9)), kRefusedValue) << "no output";
  EXPECT_EQ(Set(lamp, "intensity", Stream().Word(4711).Word(0)), kMalformed);
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(renderer, lamp, "intensity", nullptr, 0, 1),
            kMalformed);
  EXPECT_EQ(Set(lamp, "intensity", Number(1), std::numeric_limits<double>::quiet_NaN()), kBadTime);
  EXPECT_EQ(Set(lamp, "intensity", Number(1), INFINITY), kBadTime);
  EXPECT_EQ(ChangeIndex(), before) << "and changes nothing";
}

TEST_F(Values, NothingIsReadWhereThereIsNothing) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  uint32_t word = 0;
  uint32_t* stream = &word;
  int32_t size = 77;
  EXPECT_EQ(Kiln_getPropertyByteArrayByID(renderer, lamp, "getName", &stream, &size, kDirect), 0);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(size, 0);
  EXPECT_TRUE(Get(123456, "intensity").empty());
  EXPECT_EQ(GetText(lamp, "nonsense"), "(null)");
  EXPECT_EQ(Kiln_getPropertyByteArrayByID(renderer, lamp, "intensity", nullptr, &size, kDirect), 0);
}

TEST_F(Values, EveryPropertyHasAValue) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  KilnStringVector names = Kiln_KilnRenderer_getPropertyNamesByID(renderer, lamp);
  EXPECT_GT(getVectorSize(names), 0);
  for (int32_t i = 0; i < getVectorSize(names); ++i)
    EXPECT_FALSE(Get(lamp, getVectorElement(names, i)).empty()) << getVectorElement(names, i);
  releaseVector(names);
}

TEST_F(Values, AFiniteTimeIsAKeyFrame) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  EXPECT_EQ(Set(lamp, "intensity", Number(10), 0), 0);
  EXPECT_EQ(Set(lamp, "intensity", Number(20), 10), 0);
  EXPECT_NE(Kiln_KilnRenderer_isPropertyAnimatedByID(renderer, lamp, "intensity"), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::ElementsAre(0, 10));
  EXPECT_EQ(Get(lamp, "intensity", 5), FloatOf(15).bytes()) << "in between";
  EXPECT_EQ(Get(lamp, "intensity", -3), FloatOf(10).bytes());
  EXPECT_EQ(Get(lamp, "intensity", 99), FloatOf(20).bytes());
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(10).bytes()) << "directly: the first";
  EXPECT_EQ(GetText(lamp, "intensity", 5), "15.0");
  EXPECT_EQ(SetText(lamp, "intensity", "30", 10), 0);
  EXPECT_EQ(Get(lamp, "intensity", 10), FloatOf(30).bytes());
  EXPECT_EQ(Set(lamp, "intensity", Number(7)), 0);
  EXPECT_EQ(Kiln_KilnRenderer_isPropertyAnimatedByID(renderer, lamp, "intensity"), 0)
      << "a plain value ends it";
  EXPECT_EQ(Get(lamp, "intensity", 10), FloatOf(7).bytes());
}

TEST_F(Values, AnOmittedTimeIsNowOnlyWhileValuesAreAnimated) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  Kiln_KilnRenderer_setCurrentTime(renderer, 4);
  EXPECT_EQ(Set(lamp, "intensity", Number(1), kOmitted), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::IsEmpty());
  Kiln_KilnRenderer_setAnimateProperties(renderer, 1);
  EXPECT_EQ(Set(lamp, "intensity", Number(2), kOmitted), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::ElementsAre(4));
  Kiln_KilnRenderer_setCurrentFrame(renderer, 8);
  EXPECT_EQ(Set(lamp, "intensity", Number(4), kOmitted), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::ElementsAre(4, 8));
  Kiln_KilnRenderer_setCurrentTime(renderer, 6);
  EXPECT_EQ(Get(lamp, "intensity", kOmitted), FloatOf(3).bytes());
  Kiln_KilnRenderer_setAnimateProperties(renderer, 0);
  EXPECT_EQ(Get(lamp, "intensity", kOmitted), FloatOf(2).bytes());
  Kiln_KilnRenderer_setAnimateProperties(renderer, 1);
  EXPECT_EQ(Set(lamp, "intensity", Number(9), kDirect), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::IsEmpty()) << "direct is plain whatever is on";
}

TEST_F(Values, KeyFramesOfThePastCanBeDropped) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  const KilnPluginId camera = New("camera", "CameraPerspective");
  for (const double time : {1, 2, 3}) {
    ASSERT_EQ(Set(lamp, "intensity", Number(10 * time), time), 0);
    ASSERT_EQ(Set(camera, "fov", Number(10 * time), time), 0);
  }
  constexpr uint64_t kLights = uint64_t{1} << 4;
  EXPECT_EQ(Kiln_KilnRenderer_clearFrameValuesUpToTime(renderer, 2, kLights), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::ElementsAre(3));
  EXPECT_THAT(Keys(camera, "fov"), testing::ElementsAre(1, 2, 3));
  EXPECT_EQ(Kiln_KilnRenderer_clearFrameValuesUpToTime(renderer, 2, 0), 0);
  EXPECT_THAT(Keys(camera, "fov"), testing::ElementsAre(1, 2, 3));
  EXPECT_EQ(Kiln_KilnRenderer_clearAllFrameValuesUpToTime(renderer, 7), 0);
  EXPECT_THAT(Keys(lamp, "intensity"), testing::IsEmpty());
  EXPECT_EQ(Get(lamp, "intensity"), FloatOf(30).bytes()) << "the last one stays as the plain value";
  EXPECT_EQ(Get(camera, "fov"), FloatOf(30).bytes());
  EXPECT_NE(Kiln_KilnRenderer_clearAllFrameValuesUpToTime(renderer, NAN), 0);
}

TEST_F(Values, EveryChangeRaisesTheChangeIndexAndOnlyAChange) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  const uint64_t before = ChangeIndex();
  EXPECT_EQ(Set(lamp, "intensity", Number(2)), 0);
  const uint64_t after = ChangeIndex();
  EXPECT_GT(after, before);
  Get(lamp, "intensity");
  GetText(lamp, "intensity");
  EXPECT_EQ(Kiln_KilnRenderer_commit(renderer, 0), after);
}

TEST_F(Values, KeptMemoryLivesUntilTheSceneIsDoneWithIt) {
  const KilnPluginId mesh = New("mesh", "GeomStaticMesh");
  Loan<float> loan{{1, 2, 3}};
  ASSERT_EQ(Set(mesh, "vertices", loan.Lend(3004, 1)), 0);
  EXPECT_EQ(Get(mesh, "vertices"), Stream().Word(104).Word(1).Floats(1, 2, 3).bytes());
  EXPECT_EQ(loan.releases, 0);
  ASSERT_EQ(Set(mesh, "vertices", Stream().Word(104).Word(0)), 0);
  EXPECT_EQ(loan.releases, 1) << "replaced";
  ASSERT_EQ(Set(mesh, "vertices", loan.Lend(3004, 1)), 0);
  ASSERT_EQ(Kiln_KilnRenderer_deletePluginByID(renderer, mesh, 1), 0);
  EXPECT_EQ(loan.releases, 2) << "deleted";
  ASSERT_EQ(Set(New("mesh", "GeomStaticMesh"), "vertices", loan.Lend(3004, 1)), 0);
  ASSERT_EQ(Kiln_KilnRenderer_clearScene(renderer), 0);
  EXPECT_EQ(loan.releases, 3) << "cleared";
  ASSERT_EQ(Set(New("mesh", "GeomStaticMesh"), "vertices", loan.Lend(3004, 1)), 0);
  ASSERT_EQ(Kiln_KilnRenderer_loadAsText(renderer, kScene), 0);
  EXPECT_EQ(loan.releases, 4) << "another scene";
}

TEST_F(Values, KeptMemoryComesBackWhenItIsNotTaken) {
  const KilnPluginId lamp = New("lamp", "LightPoint");
  Loan<float> loan{{1, 2, 3}};
  EXPECT_EQ(Set(123456, "vertices", loan.Lend(3004, 1)), kUnknownPlugin);
  EXPECT_EQ(Set(lamp, "nonsense", loan.Lend(3004, 1)), kUnknownProperty);
  EXPECT_EQ(Set(lamp, "intensity", loan.Lend(3004, 1)), kWrongType);
  EXPECT_EQ(Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(nullptr, lamp, "vertices",
                                                              loan.Lend(3004, 1).data(), kDirect, 1),
            -1);
  EXPECT_EQ(loan.releases, 4);
}

TEST_F(Values, KeptMemoryComesBackWithTheRenderer) {
  Loan<float> loan{{1, 2, 3}};
  KilnRendererHandle other = Kiln_KilnRenderer_create(nullptr, nullptr);
  KilnPluginId mesh = KILN_NO_PLUGIN;
  ASSERT_EQ(Kiln_KilnRenderer_newPlugin(other, "mesh", "GeomStaticMesh", 1, &mesh), 0);
  ASSERT_EQ(Kiln_KilnRenderer_setPropertyBytesValueAtTimeByID(other, mesh, "vertices",
                                                              loan.Lend(3004, 1).data(), kDirect, 1),
            0);
  Kiln_KilnRenderer_release(other);
  EXPECT_EQ(loan.releases, 1);
}

// A release function that asks the engine something would wait for ever under the scene's lock.
struct Caller {
  KilnRendererHandle renderer = nullptr;
  KilnPluginId id = KILN_NO_PLUGIN;
  int calls = 0;
  static void Release(void*, uint64_t, void* cookie) {
    auto& caller = *static_cast<Caller*>(cookie);
    ++caller.calls;
    Kiln_KilnRenderer_pluginExistsByID(caller.renderer, caller.id);
    Kiln_KilnRenderer_renamePluginByID(caller.renderer, caller.id, "renamed");
  }
};

TEST_F(Values, AReleaseFunctionMayCallTheEngine) {
  const float vertex[3] = {1, 2, 3};
  Caller caller{renderer, New("mesh", "GeomStaticMesh")};
  const Stream kept = Stream()
                          .Word(3004)
                          .Word(1)
                          .Pointer(vertex)
                          .Long(reinterpret_cast<uint64_t>(&Caller::Release))
                          .Pointer(&caller);
  ASSERT_EQ(Set(caller.id, "vertices", kept), 0);
  ASSERT_EQ(Set(caller.id, "vertices", Stream().Word(104).Word(0)), 0);
  EXPECT_EQ(caller.calls, 1);
  EXPECT_STREQ(Kiln_KilnRenderer_getPluginName(renderer, caller.id), "renamed");
  ASSERT_EQ(Set(caller.id, "vertices", kept), 0);
  ASSERT_EQ(Kiln_KilnRenderer_clearScene(renderer), 0);
  EXPECT_EQ(caller.calls, 2);
}

TEST_F(Values, TheTypeAtRunTimeIsThatOfTheValue) {
  const KilnPluginId material = New("material", "MaterialPrincipled");
  const KilnPluginId bitmap = New("bitmap", "TextureBitmap");
  const auto type = [&](const char* property) {
    return Kiln_KilnRenderer_getPropertyTypeByID(renderer, material, property);
  };
  EXPECT_EQ(type("baseColor"), 5) << "a constant colour in place of a texture";
  EXPECT_EQ(type("roughness"), 1);
  ASSERT_EQ(Set(material, "baseColor", Reference(bitmap)), 0);
  EXPECT_EQ(type("baseColor"), 11);
  EXPECT_EQ(type("doubleSided"), 3);
}

TEST_F(Values, ManyThreadsReadWhileOneWrites) {
  const KilnPluginId mesh = New("mesh", "GeomStaticMesh");
  std::vector<std::thread> readers;
  std::atomic<bool> done{false};
  std::atomic<int> mixed{0};
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!done) {
        const std::vector<char> bytes = Get(mesh, "vertices");
        std::vector<float> floats((bytes.size() - 8) / 4);
        if (!floats.empty()) std::memcpy(floats.data(), bytes.data() + 8, floats.size() * 4);
        mixed += std::any_of(floats.begin(), floats.end(), [&](float f) { return f != floats[0]; });
      }
    });
  }
  for (int i = 0; i < 300; ++i) {
    const std::vector<float> vertices(300 + 3 * i, static_cast<float>(i));
    Set(mesh, "vertices", Stream().Word(2004).Word(100 + i).Pointer(vertices.data()));
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace kiln::engine::test
