#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "basic/basic_types.h"
#include "basic/sar_types.h"
#include "tests/support/expect_fails.h"

namespace {

using BASIC::TYPES::ENUM_BASE;

template <class Enumeration>
class AnyEnumeration : public testing::Test {};
using AllEnumerations =
    testing::Types<SAR::QuicklookResolutionClass, SAR::PolarizationType, SAR::OrbitDirection,
                   SAR::AntennaLookDirection, SAR::Edge, SAR::Azimuth, SAR::Range, SAR::ImageType,
                   SAR::ImagingConfiguration, SAR::ChirpSlope, SAR::ChirpType, SAR::ProductFormatId,
                   SAR::Projection, SAR::MapProjection, SAR::TxRxType, BASIC::TYPES::DataType,
                   BASIC::TYPES::PoolType>;
TYPED_TEST_SUITE(AnyEnumeration, AllEnumerations);

TYPED_TEST(AnyEnumeration, StepsThroughItsValuesAndKnowsEachByName) {
  TypeParam value;
  EXPECT_EQ(value.Text(), "-");
  int steps = 0;
  try {
    while (true) {
      ++value;
      EXPECT_EQ(value.Id(), ++steps);
      EXPECT_EQ(TypeParam(value.Text(), true), value);
      for (int n = 1; value.AliasText(n) != value.Text(); ++n) {
        EXPECT_EQ(TypeParam(value.AliasText(n), true), value) << value.AliasText(n);
      }
    }
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED&) {
    EXPECT_EQ(steps, value.Table().Size());
  }
  for (const int sentinel : {0, steps + 1, -1}) {
    EXPECT_THROW(value.SetId(sentinel), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID) << sentinel;
  }
  EXPECT_THROW(value.Set("-"), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE);
  EXPECT_EQ(value.Id(), steps);
}

struct TextRow {
  const char* text;
  bool strict;
  const char* value;  // null: refused
};

template <class Enumeration>
void ExpectTexts(std::initializer_list<TextRow> rows) {
  for (const TextRow& row : rows) {
    SCOPED_TRACE(std::string(row.text) + (row.strict ? " strictly" : ""));
    if (row.value == nullptr) {
      EXPECT_THROW((Enumeration(row.text, row.strict)),
                   BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE);
    } else {
      EXPECT_EQ(Enumeration(row.text, row.strict).Text(), row.value);
    }
  }
}

TEST(Enumerations, AcceptEveryNameInAnyCaseUnlessStrict) {
  ExpectTexts<SAR::OrbitDirection>({{"a", false, "A"},
                                    {"a", true, nullptr},
                                    {"A", true, "A"},
                                    {"Descending", false, "D"},
                                    {"Descending", true, nullptr},
                                    {"ascendin", false, nullptr},
                                    {"ascending ", false, nullptr},
                                    {"", false, nullptr}});
  ExpectTexts<SAR::Azimuth>({{"early", true, "start"},
                             {"MID", false, "center"},
                             {"late", true, "stop"},
                             {"last", true, "stop"}});
  ExpectTexts<SAR::ImageType>({{"landscape", false, "LANDSCAPE"}});
  ExpectTexts<SAR::Projection>({{"GroundRange", false, "ground range"}});
  ExpectTexts<SAR::AntennaLookDirection>({{"elevationRight", true, "R"}, {"LEFT", true, "L"}});
}

TEST(Enumerations, GiveAliasesAndIds) {
  EXPECT_EQ(SAR::ChirpType("ideal").AliasText(2), "nominal");
  EXPECT_EQ(SAR::ChirpType("ideal").AliasText(4), "ideal");
  EXPECT_EQ(SAR::ChirpType("ideal").AliasText(0), "ideal");
  EXPECT_EQ(SAR::ChirpType("replica").AliasText(2), "replica");
  EXPECT_EQ(SAR::Azimuth("start").AliasText(1), "first");
  EXPECT_EQ(SAR::Edge("BOTTOM").Id(), 1);
  EXPECT_EQ(SAR::Edge("TOP").Id(), 3);
  EXPECT_EQ(BASIC::TYPES::DataType("others").Id(), 28);
  EXPECT_EQ(SAR::TxRxType().ParameterName(), "tx_rx_type");
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
}

TEST(Enumerations, CompareOnlyWithTheirOwnClass) {
  const SAR::Azimuth azimuth("start");
  const SAR::Range range("near");
  EXPECT_EQ(azimuth, SAR::Azimuth("first"));
  EXPECT_NE(azimuth, SAR::Azimuth("stop"));
  EXPECT_THROW(static_cast<void>(static_cast<const ENUM_BASE&>(azimuth) == range),
               BASIC::TYPES::ERROR_ENUM_BASE_TYPE_MISMATCH);
}

TEST(Enumerations, AllPairsOfPolarizationsMakeAType) {
  for (const char* transmit : {"V", "H"}) {
    for (const char* receive : {"V", "H"}) {
      const SAR::TxRxType pair{SAR::PolarizationType(transmit), SAR::PolarizationType(receive)};
      EXPECT_EQ(pair.Text(), std::string(transmit) + receive);
      EXPECT_EQ(pair.Transmit().Text(), transmit);
      EXPECT_EQ(pair.Receive().Text(), receive);
    }
  }
  EXPECT_FAILS((SAR::TxRxType{SAR::PolarizationType("V"), SAR::PolarizationType()}),
               BASIC::TYPES::ERROR_ENUM_BASE,
               "invalid combination of transmit and receive polarization\n");
}

TEST(Enumerations, ImageDirectionsLieAtOrthogonalEdges) {
  const SAR::ImageDirection direction(SAR::Edge("LEFT"), SAR::Edge("TOP"));
  EXPECT_EQ(direction.EdgeOf(SAR::Range("near")).Text(), "LEFT");
  EXPECT_EQ(direction.EdgeOf(SAR::Range("far")).Text(), "RIGHT");
  EXPECT_EQ(direction.EdgeOf(SAR::Azimuth("start")).Text(), "TOP");
  EXPECT_EQ(direction.EdgeOf(SAR::Azimuth("stop")).Text(), "BOTTOM");
  EXPECT_FAILS(direction.EdgeOf(SAR::Range("mid")), BASIC::TYPES::ERROR_ENUM_BASE,
               "mid range is at no edge\n");
  EXPECT_FAILS(direction.EdgeOf(SAR::Azimuth("center")), BASIC::TYPES::ERROR_ENUM_BASE,
               "mid azimuth is at no edge\n");
  for (const char* azimuth : {"LEFT", "RIGHT"}) {
    EXPECT_FAILS((SAR::ImageDirection{SAR::Edge("RIGHT"), SAR::Edge(azimuth)}),
                 BASIC::TYPES::ERROR_ENUM_BASE,
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
  EXPECT_FALSE(set.Contains(SAR::Azimuth()));
  EXPECT_THROW(set.Insert(SAR::Azimuth()), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID);
}

}  // namespace
