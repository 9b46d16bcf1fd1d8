#include <gravok/element_types.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace {

using Kinds = std::vector<GradingElementType>;

TEST(Catalogue, ListsInTheirFixedOrders) {
  EXPECT_EQ(gvk::allElementTypes(),
            (Kinds{LowPoint, BoundedPoint, AlignedEdge, Offset, DrainLine, SurfaceZone,
                   BendLine, Unclassified, Curb, BuildingPad, Pond, RetWall, Pathway}));
  EXPECT_EQ(gvk::complexElementTypes(),
            (Kinds{Curb, BuildingPad, Pond, ParkingLot, RetWall, Pathway}));
  EXPECT_EQ(gvk::typesOfElementWithOutput(),
            (Kinds{LowPoint, BoundedPoint, AlignedEdge, BendLine, DrainLine, SurfaceZone,
                   Curb, BuildingPad, Pond, RetWall, Pathway}));
}

TEST(Catalogue, ParkingLotIsComplexButNeverTransferred) {
  const Kinds all = gvk::allElementTypes();
  EXPECT_EQ(std::count(all.begin(), all.end(), ParkingLot), 0);
  const Kinds& output = gvk::typesOfElementWithOutput();
  EXPECT_EQ(std::count(output.begin(), output.end(), ParkingLot), 0);
}

TEST(Catalogue, FreshListsAreIndependentCopies) {
  Kinds first = gvk::allElementTypes();
  first[0] = Pathway;
  EXPECT_EQ(gvk::allElementTypes()[0], LowPoint);
  Kinds complex = gvk::complexElementTypes();
  complex.clear();
  EXPECT_EQ(gvk::complexElementTypes().size(), 6u);
}

TEST(Catalogue, KindsWithOutputIsOneSharedObjectAcrossThreads) {
  const Kinds* seen[8] = {};
  std::vector<std::thread> threads;
  for (auto& slot : seen) {
    threads.emplace_back([&slot] { slot = &gvk::typesOfElementWithOutput(); });
  }
  for (auto& thread : threads) thread.join();
  for (const Kinds* list : seen) EXPECT_EQ(list, &gvk::typesOfElementWithOutput());
}

TEST(ElementUid, PublishedFnv1aValues) {
  struct Case {
    std::string guid;
    long long uid;
  };
  const Case cases[] = {
      {"", -3750763034362895579LL},
      {"a", -5808556873153909620LL},       // 0xAF63DC4C8601EC8C
      {"foobar", -8821353812377114648LL},  // 0x85944171F73967E8
      {std::string("a\0b", 3), static_cast<long long>(0xE5D29919042666B2ULL)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.guid);
    EXPECT_EQ(gvk::hashGradingElementUid(c.guid), c.uid);
  }
}

TEST(ElementUid, TextIsTakenAsItStands) {
  const std::string guid = "6f1c2a9e-0b7d-4c35-9a2e-1d4b5f6a7c8d";
  const std::string upper = "6F1C2A9E-0B7D-4C35-9A2E-1D4B5F6A7C8D";
  EXPECT_NE(gvk::hashGradingElementUid(guid), gvk::hashGradingElementUid(upper));
  EXPECT_NE(gvk::hashGradingElementUid(guid),
            gvk::hashGradingElementUid("{" + guid + "}"));
  EXPECT_EQ(gvk::hashGradingElementUid(guid),
            gvk::hashGradingElementUid(std::string(guid)));
}

// The outputs start as sentinels so that a case can tell "left untouched" apart.
constexpr GradingElementType kTypeBefore = static_cast<GradingElementType>(-77);
constexpr TriZoneType kZoneBefore = static_cast<TriZoneType>(-55);

TEST(ConstraintType, ClassifiesByFirstKeyInKeyOrder) {
  struct Case {
    std::string name;
    bool found;
    GradingElementType type;
    TriZoneType zone;
  };
  const Case cases[] = {
      {"LowPoint", true, LowPoint, kZoneBefore},
      {"Pond-Offset", true, Offset, kZoneBefore},  // "Offset" sorts before "Pond"
      {"LowPointsOfParkingLot", true, LowPoint, kZoneBefore},
      {"CurbRetWall", true, Curb, kZoneBefore},
      {"RetWallCurb", true, Curb, kZoneBefore},
      {"ParkingLot", true, ParkingLot, kZoneBefore},
      {"my Pathway 3", true, Pathway, kZoneBefore},
      {"SurfaceZoneExclusion", true, SurfaceZone, kZoneBefore},  // element key first
      {"Exclusion zone 3", true, SurfaceZone, Exclusion},
      {"GenericZone", true, SurfaceZone, Generic},
      {"GenericExclusion", true, SurfaceZone, Exclusion},  // "Exclusion" sorts first
      {"UnclassifiedGeneric", true, Unclassified, kZoneBefore},
      {"lowpoint", false, kTypeBefore, kZoneBefore},  // never folds case
      {"Low Point", false, kTypeBefore, kZoneBefore},
      {"", false, kTypeBefore, kZoneBefore},
      {"exclusion", false, kTypeBefore, kZoneBefore},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    GradingElementType type = kTypeBefore;
    TriZoneType zone = kZoneBefore;
    EXPECT_EQ(gvk::get_constraint_type(c.name, type, zone), c.found);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(zone, c.zone);
  }
}

TEST(ConstraintType, EveryKindNameClassifiesAsItselfAndIsItsName) {
  const std::pair<const char*, GradingElementType> names[] = {
      {"LowPoint", LowPoint},
      {"BoundedPoint", BoundedPoint},
      {"AlignedEdge", AlignedEdge},
      {"Offset", Offset},
      {"DrainLine", DrainLine},
      {"SurfaceZone", SurfaceZone},
      {"BendLine", BendLine},
      {"Unclassified", Unclassified},
      {"Curb", Curb},
      {"BuildingPad", BuildingPad},
      {"Pond", Pond},
      {"ParkingLot", ParkingLot},
      {"RetWall", RetWall},
      {"Pathway", Pathway},
  };
  for (const auto& [name, kind] : names) {
    GradingElementType type = kTypeBefore;
    TriZoneType zone = kZoneBefore;
    EXPECT_TRUE(gvk::get_constraint_type(name, type, zone)) << name;
    EXPECT_EQ(type, kind) << name;
    EXPECT_STREQ(gvk::element_type_name(kind), name);
  }
  for (const std::int32_t unnamed : {8, 99, -1, 106, 1000}) {
    EXPECT_STREQ(gvk::element_type_name(static_cast<GradingElementType>(unnamed)), "");
  }
}

}  // namespace
