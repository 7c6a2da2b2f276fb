// The people, machines, shares and files of the office that the log corpus describes.
#ifndef SARVIK_BENCH_LOG_VOCABULARY_H_
#define SARVIK_BENCH_LOG_VOCABULARY_H_

#include <string>
#include <vector>

#include "random.h"

namespace sarvik::corpus {

// One account of the file service and the machines it works from.
struct Person {
  std::string login;  // as the client sends it; some clients keep capitals
  std::string host;
  std::string ipaddr;
  std::string laptop_host;  // empty when the person has one machine only
  std::string laptop_ipaddr;
  WeightedPick shares;  // index into Vocabulary::shares
  bool trusted;         // may write the finance and personnel shares
};

// A share and its files, the most used first.
struct Share {
  std::string name;
  bool restricted;  // finance and personnel: mostly refused to others
  bool homes;       // each person's own folder: its paths start with the login
  std::vector<std::string> paths;
  WeightedPick popular;
};

// Everything the corpus draws its records from; built once from the seed and read only after.
struct Vocabulary {
  std::vector<Person> people;  // the busiest first
  WeightedPick busy;           // over people
  Person backup;               // the nightly backup's account
  Person scanner;              // the copier that files scans
  std::vector<Share> shares;
};

Vocabulary make_vocabulary(Random& random);

// The share called `name`; it must be one of the vocabulary's.
const Share& share_named(const Vocabulary& vocabulary, const char* name);

// A file name as people make them: a stem, a number, a date or a version, an extension.
// Some stems hold a comma or letters beyond ASCII.
std::string file_name(Random& random);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_VOCABULARY_H_
