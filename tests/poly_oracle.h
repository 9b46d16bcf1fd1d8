// Literal reference versions of the Triangle-format file operations, written on
// standard streams in the classic locale: the reader extracts each line's fields
// from its own std::istringstream and walks a std::multimap; the writer formats with
// an std::ofstream in fixed notation with precision 12 and ends each line with
// std::endl. The library must agree with these exactly. Test and benchmark code only.
#ifndef GRAVOK_TESTS_POLY_ORACLE_H
#define GRAVOK_TESTS_POLY_ORACLE_H

#include <gravok/records.h>

#include <fstream>
#include <iomanip>
#include <locale>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace oracle {

// Where the library would end the process, the reference returns Exited instead.
enum class Outcome { Returned, Exited };

inline std::istringstream classic_fields(const std::string& line) {
  std::istringstream fields(line);
  fields.imbue(std::locale::classic());
  return fields;
}

inline unsigned long long widened(int v) {
  return static_cast<unsigned long long>(static_cast<long long>(v));
}

inline void walk(std::multimap<int, int>& table,
                 std::vector<unsigned long long>& boundary) {
  if (table.empty()) return;
  const int start = table.begin()->first;
  boundary.push_back(widened(start));
  int previous = start;
  int current = table.begin()->second;
  while (current != start) {
    const auto range = table.equal_range(current);
    auto it = range.first;
    while (it != range.second && it->second == previous) ++it;
    if (it == range.second) break;  // open chain: keep what was gathered
    boundary.push_back(widened(current));
    previous = current;
    current = it->second;
    table.erase(it);
  }
}

// Once std::getline has failed at the end of the file, every later call fails too,
// so the loops below stop there instead of counting on.
inline Outcome poly_from_file(const std::string& path, std::vector<double>& x,
                              std::vector<double>& y, std::vector<double>& z,
                              std::vector<gvk::Triangle>& triangles,
                              std::vector<unsigned long long>& boundary) {
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  boundary.clear();
  std::ifstream file(path);
  std::string line;
  unsigned long long count = 0;
  if (!std::getline(file, line)) return Outcome::Exited;
  if (!(classic_fields(line) >> count)) return Outcome::Exited;
  for (unsigned long long k = 0; k < count; ++k) {
    if (!std::getline(file, line)) break;
    std::istringstream fields = classic_fields(line);
    int number = 0, marker = 0;
    double vx = 0, vy = 0, vz = 0;
    if (!(fields >> number >> vx >> vy >> vz >> marker)) return Outcome::Exited;
    x.push_back(vx);
    y.push_back(vy);
    z.push_back(vz);
  }
  if (!std::getline(file, line)) return Outcome::Returned;
  if (!(classic_fields(line) >> count)) return Outcome::Returned;
  std::multimap<int, int> table;
  for (unsigned long long k = 0; k < count; ++k) {
    if (!std::getline(file, line)) break;
    std::istringstream fields = classic_fields(line);
    int number = 0, a = 0, b = 0, marker = 0;
    if (fields >> number >> a >> b >> marker) {
      table.insert({a, b});
      table.insert({b, a});
    }
  }
  walk(table, boundary);
  return Outcome::Returned;
}

inline void poly_to_files(const std::string& basename, const std::vector<double>& x,
                          const std::vector<double>& y, const std::vector<double>& z,
                          const std::vector<gvk::Triangle>& triangles) {
  const std::string::size_type dot = basename.rfind('.');
  const std::string stem = dot == std::string::npos ? basename : basename.substr(0, dot);
  {
    std::ofstream out(stem + ".1.node");
    out.imbue(std::locale::classic());
    out << x.size() << " 2 1 1" << std::endl;
    out << std::fixed << std::setprecision(12);
    for (std::size_t i = 0; i < x.size(); ++i) {
      out << i << " " << x[i] << " " << y[i] << " " << z[i] << " " << 0 << std::endl;
    }
  }
  std::ofstream out(stem + ".1.ele");
  out.imbue(std::locale::classic());
  out << triangles.size() << " 3 0" << std::endl;
  for (std::size_t j = 0; j < triangles.size(); ++j) {
    const gvk::Triangle& t = triangles[j];
    out << j << " " << t[0] << " " << t[1] << " " << t[2] << " " << 0 << std::endl;
  }
}

}  // namespace oracle

#endif  // GRAVOK_TESTS_POLY_ORACLE_H
