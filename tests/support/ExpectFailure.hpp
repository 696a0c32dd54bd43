#pragma once

#include <Tavi/Exceptions.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <source_location>
#include <string>
#include <typeinfo>

namespace NORV::Tests {

/// Requires that `act` throws a failure of exactly this class of the family, with these whole texts.
template <class Failure, class Act>
void expectFailure(const Act& act, const std::string& errorMessage, const std::string& origin,
                   const std::source_location& place = std::source_location::current()) {
  const testing::ScopedTrace trace(place.file_name(), static_cast<int>(place.line()), "expectFailure");
  try {
    act();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exceptions::Exception& failure) {
    EXPECT_STREQ(failure.getClassName(), Failure::name);
    EXPECT_TRUE(typeid(failure) == typeid(Failure)) << typeid(failure).name();
    EXPECT_STREQ(failure.getErrorMessage(), errorMessage.c_str());
    EXPECT_STREQ(failure.getOrigin(), origin.c_str());
    EXPECT_STRNE(failure.getFile(), "");
    EXPECT_GT(failure.getLine(), 0);
    EXPECT_FALSE(failure.isDamaged());
  } catch (const std::exception& failure) {
    ADD_FAILURE() << "a standard class was thrown: " << typeid(failure).name() << ": " << failure.what();
  }
}

/// Requires that `act` throws exactly this class, which stands outside the family, with this whole text.
template <class Standard, class Act>
void expectStandard(const Act& act, const std::string& text,
                    const std::source_location& place = std::source_location::current()) {
  const testing::ScopedTrace trace(place.file_name(), static_cast<int>(place.line()), "expectStandard");
  try {
    act();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exceptions::Exception& failure) {
    ADD_FAILURE() << "a class of the family was thrown: " << failure.getClassName() << ": "
                  << failure.getErrorMessage();
  } catch (const std::exception& failure) {
    EXPECT_TRUE(typeid(failure) == typeid(Standard)) << typeid(failure).name();
    EXPECT_STREQ(failure.what(), text.c_str());
  }
}

}  // namespace NORV::Tests
