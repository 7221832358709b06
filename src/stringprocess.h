// Small string operations used across the process.
//
// Any thread; nothing here keeps state. Results are 1 for done or true, 0 for refused or false; a refused operation
// leaves its output argument as it was.
#pragma once

#include <string>

class StrProcess {
 public:
  static int IsEmpty(const std::string& text);
  static int IsEmpty(const char* text);  // a null pointer counts as empty

  // 1 when flag occurs anywhere in text; the empty flag does.
  static int FindFlagFromStr(const std::string& text, const char* flag);

  // The decimal number that text begins with, 0 without one, cut to the width of an int.
  static int StrToInt(const char* text);

  // 1 when every character is a hexadecimal digit; an empty text is.
  static int IsHexData(const std::string& text);

  // 1 for the spaced form of an infrared code: groups of four hexadecimal digits, one space between two. The last group
  // may be short. What is wrong is logged.
  static int IsIrData(const std::string& text);

  // Removes every c from text in place; 0, and a log line, for an empty text.
  static int DeleteAllChar(std::string& text, char c);

  // Append the upper-case or lower-case form of in to out, which is not cleared first; 0 when in is empty.
  static int Lowercase2Uppercase(const std::string& in, std::string& out);
  static int Uppercase2Lowercase(const std::string& in, std::string& out);

  // The first or last n characters of text; 0 when n is below 1 or beyond the length.
  static int Cut2GetHeadStr(const std::string& text, int n, std::string& out);
  static int Cut2GetTailStr(const std::string& text, int n, std::string& out);

  // The n-th field of text, counted from 1. An empty field between two delimiters is one; an empty last field is
  // refused.
  static int SplitStr(const std::string& text, const char* delimiter, int n, std::string& out);

  // True when text begins with prefix, the case of ASCII letters ignored.
  static bool HasPrefixNoCase(const std::string& text, const char* prefix);

  // True when both are the same but for the case of ASCII letters.
  static bool EqualsNoCase(const std::string& a, const std::string& b);
};

// 1 when something exists at path, 0 otherwise.
int CheckDirAndFileIsExist(const char* path);
