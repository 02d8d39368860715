#pragma once
// What tests of text forms have in common.

#include <sorrel/VValueTrait.hpp>

#include <gtest/gtest.h>

#include <string>

template<class T>
std::string textOf(const T& value) {
    return Mirk::VValueTrait<T>::Text(value);
}

template<class T>
bool read(T& value, const std::string& text) {
    return Mirk::VValueTrait<T>::setValueFromText(value, text);
}

template<class T>
bool differs(const T& a, const T& b) {
    return Mirk::VValueCompareTrait<T>::isDifferent(a, b);
}

template<class T>
T readFrom(const std::string& text) {
    T value{};
    EXPECT_TRUE(read(value, text)) << '"' << text << '"';
    return value;
}

/// A text that can't be read leaves the value as it was.
template<class T>
void expectUnreadable(const T& value, const std::string& text) {
    T target(value);
    EXPECT_FALSE(read(target, text)) << '"' << text << '"';
    EXPECT_FALSE(differs(value, target)) << '"' << text << '"';
    EXPECT_EQ(textOf(value), textOf(target)) << '"' << text << '"';
}

/// The text is read back to an equal value, whose text it is.
template<class T>
void expectSameBack(const T& value) {
    T back{};
    ASSERT_TRUE(read(back, textOf(value))) << textOf(value);
    EXPECT_FALSE(differs(value, back)) << textOf(value);
    EXPECT_EQ(textOf(value), textOf(back));
}
