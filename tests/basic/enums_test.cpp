#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "basic/basic_types.h"
#include "basic/sar_types.h"
#include "tests/support/expect_fails.h"
#include "tests/support/rows.h"

namespace {

using BASIC::TYPES::ENUM_BASE;
using quellmark::test::ReadRows;
using quellmark::test::Row;

template <class Enumeration>
class AnyEnumeration : public testing::Test {};
using AllEnumerations =
    testing::Types<SAR::QuicklookResolutionClass, SAR::PolarizationType, SAR::OrbitDirection,
                   SAR::AntennaLookDirection, SAR::Edge, SAR::Azimuth, SAR::Range, SAR::ImageType,
                   SAR::ImagingConfiguration, SAR::ChirpSlope, SAR::ChirpType, SAR::ProductFormatId,
                   SAR::Projection, SAR::MapProjection, SAR::TxRxType, BASIC::TYPES::DataType,
                   BASIC::TYPES::PoolType>;
TYPED_TEST_SUITE(AnyEnumeration, AllEnumerations);

TYPED_TEST(AnyEnumeration, HasTheValuesAndNamesOfItsRow) {
  TypeParam value;
  EXPECT_EQ(value.Text(), "-");
  Row row = {std::string(value.ClassName()), std::string(value.ParameterName())};
  try {
    for (int id = 1;; ++id) {
      ++value;
      EXPECT_EQ(value.Id(), id);
      EXPECT_EQ(TypeParam(value.Text(), true), value);
      std::string& names = row.emplace_back(value.Text());
      for (int n = 1; value.AliasText(n) != value.Text(); ++n) {
        EXPECT_EQ(TypeParam(value.AliasText(n), true), value) << value.AliasText(n);
        names.append(", ").append(value.AliasText(n));
      }
    }
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED&) {
    EXPECT_THAT(ReadRows(QM_BASIC_TEST_DATA "/enumerations.txt"), testing::Contains(row));
  }
  const int last = value.Id();
  for (const int sentinel : {0, last + 1, -1}) {
    EXPECT_THROW(value.SetId(sentinel), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID) << sentinel;
  }
  EXPECT_THROW(value.Set("-"), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE);
  EXPECT_EQ(value.Id(), last);
}

// Returns the text of the value as which `text` is read, or "" if it is refused.
template <class Enumeration>
std::string Taken(const char* text, bool strict) {
  try {
    return std::string(Enumeration(text, strict).Text());
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE&) {
    return "";
  }
}

TEST(Enumerations, AcceptEveryNameInAnyCaseUnlessStrict) {
  EXPECT_EQ(Taken<SAR::OrbitDirection>("a", false), "A");
  EXPECT_EQ(Taken<SAR::OrbitDirection>("a", true), "");
  EXPECT_EQ(Taken<SAR::OrbitDirection>("Descending", false), "D");
  EXPECT_EQ(Taken<SAR::OrbitDirection>("Descending", true), "");
  EXPECT_EQ(Taken<SAR::ImageType>("landscape", false), "LANDSCAPE");
  EXPECT_EQ(Taken<SAR::Azimuth>("early", true), "start");
  EXPECT_EQ(Taken<SAR::Azimuth>("MID", false), "center");
  EXPECT_EQ(Taken<SAR::Azimuth>("late", true), "stop");
  for (const char* near_miss : {"ascendin", "ascending ", "", "-"}) {
    EXPECT_EQ(Taken<SAR::OrbitDirection>(near_miss, false), "") << near_miss;
  }
  for (const int none : {0, -1, INT_MIN, 4, INT_MAX}) {
    EXPECT_EQ(SAR::ChirpType("ideal").AliasText(none), "ideal");
  }
}

TEST(Enumerations, TellWhatTheyRefused) {
  try {
    SAR::Edge("sideways");
    ADD_FAILURE() << "nothing thrown";
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE& error) {
    const std::unique_ptr<const char[]> text(error.Message());
    EXPECT_STREQ(text.get(), "enumeration data type - invalid value of class SAR::Edge: sideways");
  }
  const BASIC::TYPES::RefusedText refused = ENUM_BASE::LastRefused();
  EXPECT_EQ(refused.text, "sideways");
  EXPECT_EQ(refused.class_name, "SAR::Edge");
  EXPECT_EQ(refused.valid_values, "Valid values are: 'TOP' 'RIGHT' 'BOTTOM' 'LEFT' ");
  using namespace BASIC::TYPES;
  SAR::Edge edge("RIGHT");
  EXPECT_FAILS(
      edge.Set("sideways"), ERROR_ENUM_BASE_INVALID_VALUE,
      "SAR::Edge: invalid value 'sideways'. Valid values are: 'TOP' 'RIGHT' 'BOTTOM' 'LEFT' \n");
  EXPECT_FAILS(edge.SetId(9), ERROR_ENUM_BASE_INVALID_ID, "SAR::Edge: invalid id 9\n");
  EXPECT_FAILS(++edge, ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED,
               "SAR::Edge: no value after 'RIGHT'\n");
}

TEST(Enumerations, CompareOnlyWithTheirOwnClass) {
  const SAR::Azimuth azimuth("start");
  const ENUM_BASE& base = azimuth;
  EXPECT_EQ(azimuth, SAR::Azimuth("first"));
  EXPECT_NE(azimuth, SAR::Azimuth("stop"));
  EXPECT_FAILS(base == SAR::Range("near"), BASIC::TYPES::ERROR_ENUM_BASE_TYPE_MISMATCH,
               "SAR::Azimuth: compared with a value of SAR::Range\n");
}

TEST(Enumerations, AllPairsOfPolarizationsMakeAType) {
  for (const std::string pair : {"VV", "VH", "HV", "HH"}) {
    const SAR::PolarizationType transmit(pair.substr(0, 1)), receive(pair.substr(1));
    const SAR::TxRxType type(transmit, receive);
    EXPECT_EQ(type.Text(), pair);
    EXPECT_EQ(type.Transmit(), transmit);
    EXPECT_EQ(type.Receive(), receive);
  }
  EXPECT_FAILS((SAR::TxRxType{SAR::PolarizationType("V"), SAR::PolarizationType()}),
               BASIC::TYPES::ERROR_ENUM_BASE,
               "invalid combination of transmit and receive polarization\n");
}

TEST(Enumerations, ImageDirectionsLieAtOrthogonalEdges) {
  const SAR::Edge top("TOP"), right("RIGHT"), bottom("BOTTOM"), left("LEFT");
  const SAR::ImageDirection direction(left, top);
  EXPECT_EQ(direction.EdgeOf(SAR::Range("near")), left);
  EXPECT_EQ(direction.EdgeOf(SAR::Range("far")), right);
  EXPECT_EQ(direction.EdgeOf(SAR::Azimuth("start")), top);
  EXPECT_EQ(direction.EdgeOf(SAR::Azimuth("stop")), bottom);
  using Error = BASIC::TYPES::ERROR_ENUM_BASE;
  EXPECT_FAILS(direction.EdgeOf(SAR::Range("mid")), Error, "mid range is at no edge\n");
  EXPECT_FAILS(direction.EdgeOf(SAR::Azimuth("center")), Error, "mid azimuth is at no edge\n");
  for (const SAR::Edge& azimuth : {left, right}) {
    EXPECT_FAILS((SAR::ImageDirection{right, azimuth}), Error,
                 "range and azimuth should be at orthogonal edges\n");
  }
}

TEST(Enumerations, AzimuthsAreASet) {
  SAR::Azimuths set;
  set.Insert(SAR::Azimuth("center"));
  set.Insert(SAR::Azimuth("mid"));
  EXPECT_EQ(set.Count(), 1U);
  EXPECT_TRUE(set.Contains(SAR::Azimuth("center")));
  EXPECT_FALSE(set.Contains(SAR::Azimuth("start")));
  EXPECT_FAILS(set.Insert(SAR::Azimuth()), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID,
               "SAR::Azimuths: a value that is not set\n");
}

}  // namespace
