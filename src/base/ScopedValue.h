#pragma once

#include <utility>

namespace BSE
{

// Gives a variable another value for a scope and puts the old one back, whatever ends the scope.
template <class T>
class CScopedValue
{
public:
  CScopedValue(T& variable, T value) : m_variable(variable), m_old(std::exchange(variable, std::move(value)))
  {
  }
  CScopedValue(const CScopedValue&) = delete;
  CScopedValue& operator=(const CScopedValue&) = delete;
  ~CScopedValue() { m_variable = std::move(m_old); }

private:
  T& m_variable;
  T m_old;
};

}  // namespace BSE
