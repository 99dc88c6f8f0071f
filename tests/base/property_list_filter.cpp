// Reads a property list on the standard input and writes it to the standard output, for comparison with programs
// that others wrote.
//
//   property_list_filter xml    as an XML property list
//   property_list_filter plain  one line for each value, in the order of the document, keys sorted by their bytes:
//
//     true  false  integer -5  real 3fe0000000000000  date 41c0…  text 6869  bytes 00ff  array 2  dictionary 1
//     key 6b
//
//   in which reals and dates (seconds since 1970) are the bits of a double, texts and bytes hexadecimal, and
//   containers say how many elements or entries follow. Bits of the double tell apart what printed digits would
//   not.
//
// Exits with 1, and the reason on the standard error, when there is no property list to read or to write.

#include <array>
#include <bit>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include "base/PropertyList.h"

namespace {

using zpk::Value;

template <class Range>
std::string hexadecimal(const Range& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const auto byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
  }
  return text;
}

std::string bitsOf(double real) {
  std::array<char, 17> text{};
  std::snprintf(text.data(), text.size(), "%016llx",
                static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(real)));
  return text.data();
}

void printPlain(const Value& value) {
  if (value.isBoolean()) {
    std::cout << (value.boolValue() ? "true\n" : "false\n");
  } else if (value.isUnsigned()) {
    std::cout << "integer " << value.unsignedIntegerValue() << "\n";
  } else if (value.isSigned()) {
    std::cout << "integer " << value.integerValue() << "\n";
  } else if (value.isReal()) {
    std::cout << "real " << bitsOf(value.doubleValue()) << "\n";
  } else if (const zpk::Date* date = value.date()) {
    std::cout << "date " << bitsOf(date->secondsSince1970) << "\n";
  } else if (const std::string* text = value.text()) {
    std::cout << "text " << hexadecimal(*text) << "\n";
  } else if (const zpk::ByteBlock* bytes = value.bytes()) {
    std::cout << "bytes " << hexadecimal(*bytes) << "\n";
  } else if (const zpk::Array* array = value.array()) {
    std::cout << "array " << array->size() << "\n";
    for (const Value& element : *array) printPlain(element);
  } else if (const zpk::Dictionary* dictionary = value.dictionary()) {
    std::cout << "dictionary " << dictionary->size() << "\n";
    for (const auto& [key, entry] : *dictionary) {
      std::cout << "key " << hexadecimal(key) << "\n";
      printPlain(entry);
    }
  }
}

bool printXML(const Value& value) {
  const auto data = zpk::writeXMLPropertyList(value);
  if (!data) {
    std::cerr << data.error().keyPath << ": " << data.error().reason << "\n";
    return false;
  }
  std::cout << std::string(data->begin(), data->end());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string form = argc == 2 ? argv[1] : "";
  if (form != "xml" && form != "plain") {
    std::cerr << "usage: property_list_filter xml|plain\n";
    return 1;
  }
  const std::string input{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  const auto value = zpk::readPropertyList(zpk::Bytes(input.begin(), input.end()));
  if (!value) {
    std::cerr << value.error().description() << "\n";
    return 1;
  }
  if (form == "xml") return printXML(*value) ? 0 : 1;
  printPlain(*value);
  return 0;
}
