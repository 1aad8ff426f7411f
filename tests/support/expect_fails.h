// Checks failures: the class or text that is thrown, and the log lines before it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

#include "tests/support/scoped_log.h"

namespace quellmark::test {

/// Runs `statement` and returns the log that it wrote. Fails the test unless exactly `Error` was
/// thrown.
template <class Error, class Statement>
std::string LogOfFailure(Statement&& statement) {
  ScopedLog log;
  try {
    statement();
    ADD_FAILURE() << "nothing thrown, " << typeid(Error).name() << " expected";
  } catch (const Error& error) {
    EXPECT_EQ(typeid(error), typeid(Error)) << "a class below the expected one was thrown";
  } catch (...) {
    ADD_FAILURE() << "something else thrown, " << typeid(Error).name() << " expected";
  }
  return log.Text();
}

/// Like LogOfFailure, but for a thrown character string, which must equal `text`.
template <class Statement>
std::string LogOfThrownText(const std::string& text, Statement&& statement) {
  ScopedLog log;
  try {
    statement();
    ADD_FAILURE() << "nothing thrown, the text \"" << text << "\" expected";
  } catch (const char* thrown) {
    EXPECT_EQ(thrown, text);
  } catch (...) {
    ADD_FAILURE() << "something else thrown, the text \"" << text << "\" expected";
  }
  return log.Text();
}

}  // namespace quellmark::test

/// The statement throws exactly `Error` and the log then ends in the line "ALARM : " + `line`.
#define EXPECT_FAILS(statement, Error, line)                                                   \
  EXPECT_THAT((::quellmark::test::LogOfFailure<Error>([&] { static_cast<void>(statement); })), \
              ::testing::EndsWith(std::string("ALARM : ") + (line)))

/// The statement throws the character string `text`.
#define EXPECT_THROWS_TEXT(statement, text) \
  static_cast<void>(::quellmark::test::LogOfThrownText(text, [&] { static_cast<void>(statement); }))
