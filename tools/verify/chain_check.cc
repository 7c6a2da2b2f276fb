// Proving a log's chain with the verification key.
#include "verify/chain_check.h"

#include "verify/journal_reader.h"

namespace sarvik::verify {

namespace {

std::string seals_text(uint64_t first, uint64_t last) {
  return first == last ? "seal " + std::to_string(first)
                       : "seals " + std::to_string(first) + " to " + std::to_string(last);
}

// Walks the chain along the journal, keeping its key and tag.
class ChainWalk {
 public:
  ChainWalk(int chain, const std::string& log_dir, const VerificationKey& key,
            const ChainHead& head, std::vector<Finding>* findings, uint64_t most_skipped)
      : log_dir(log_dir),
        key(first_chain_key(key, chain)),
        head(head),
        findings(findings),
        skip_budget(most_skipped) {}
  ~ChainWalk() { erase_secret(key.data(), key.size()); }
  ChainWalk(const ChainWalk&) = delete;
  ChainWalk& operator=(const ChainWalk&) = delete;

  // Slots one after another that are damaged alike make one finding.
  void damaged(uint64_t offset, const std::string& why) {
    if (damage_slots > 0 && offset == damage_from + damage_slots * kSlotBytes &&
        why == damage_why) {
      ++damage_slots;
      return;
    }
    tell_damage();
    damage_from = offset;
    damage_slots = 1;
    damage_why = why;
    linked = false;
  }

  void record(const SealRecord& record, const uint8_t* bytes) {
    tell_damage();
    if (record.type != SealType::kLine) file = record.name;
    if (record.seq < expected) {
      state(seals_text(record.seq, record.seq) + " stands after " +
            seals_text(expected - 1, expected - 1) +
            ": the journal was rolled back and written anew");
      linked = false;
      return;
    }
    if (record.seq > expected) {
      if (record.seq - expected > skip_budget) {
        state(seals_text(record.seq, record.seq) + " is no seal of this chain");
        linked = false;
        return;
      }
      state(seals_text(expected, record.seq - 1) +
            " are missing from the journal: the state was cut or rolled back");
      skip_to(record.seq);
      linked = false;
    }
    ChainKey next;
    const SealTag tag = seal_tag(key, previous, bytes, record.name.size(), &next);
    const bool holds = tag == record.tag;
    // Behind a seal that does not hold, the next one is tagged over the tag that was there
    // before: its failing is that link, already told.
    if (linked && !holds && previous_holds) {
      Finding finding{FindingKind::kState, log_dir, 0, 0, 0, ""};
      finding.explanation = seals_text(record.seq, record.seq) +
                            " was altered in the state, or made with a later key";
      if (record.type == SealType::kLine && !file.empty()) {
        finding.file = log_dir + "/" + file;
        finding.line = record.line;
        finding.sealed_line = record.line;
        finding.explanation = "the seal of this line (" + finding.explanation + ")";
      }
      findings->push_back(finding);
    }
    key = next;
    erase_secret(next.data(), next.size());
    previous = record.tag;
    previous_holds = holds || !linked;
    expected = record.seq + 1;
    linked = true;
  }

  // The key file must end the chain where the journal ends it.
  void end() {
    tell_damage();
    if (head.next_seq > expected) {
      state("the key file counts " + std::to_string(head.next_seq) + " seals, but the journal " +
            "ends before " + seals_text(expected, head.next_seq - 1) +
            ": the state was cut or rolled back");
      if (head.next_seq - expected > skip_budget) return;
      skip_to(head.next_seq);
      linked = false;
    } else if (head.next_seq < expected) {
      state("the journal holds seals beyond the " + std::to_string(head.next_seq) +
            " that the key file counts: the key file was rolled back");
      return;
    }
    if (head.key != key) {
      state("the key file's key is not the one of seal " + std::to_string(expected) +
            ": the state was rebuilt");
    } else if (linked && expected > 0 && head.last_tag != previous) {
      state("the key file does not end with the journal's last seal: the state was rebuilt");
    }
  }

 private:
  void state(const std::string& explanation) {
    Finding finding{FindingKind::kState, log_dir, 0, 0, 0, ""};
    finding.explanation = explanation;
    findings->push_back(finding);
  }

  void tell_damage() {
    if (damage_slots == 0) return;
    state("the journal is damaged in " + std::to_string(damage_slots) +
          (damage_slots == 1 ? " slot" : " slots") + " from byte " + std::to_string(damage_from) +
          ": " + damage_why);
    damage_slots = 0;
  }

  void skip_to(uint64_t seq) {
    skip_budget -= seq - expected;
    for (; expected < seq; ++expected) advance_chain_key(&key);
  }

  const std::string log_dir;
  ChainKey key;
  const ChainHead& head;
  std::vector<Finding>* findings;
  SealTag previous{};
  uint64_t expected = 0;
  bool linked = true;  // `previous` is the tag of the record just before
  bool previous_holds = true;
  std::string file;  // the file of the run, "YYYYMM/name"
  // Damaged slots not told yet.
  uint64_t damage_from = 0;
  uint64_t damage_slots = 0;
  std::string damage_why;
  uint64_t skip_budget;  // keys that may still be derived across gaps
};

}  // namespace

bool check_chain(int fd, int chain, const std::string& log_dir, const VerificationKey& key,
                 const ChainHead& head, std::vector<Finding>* findings, uint64_t most_skipped) {
  ChainWalk walk(chain, log_dir, key, head, findings, most_skipped);
  JournalReader reader(fd);
  for (;;) {
    SealRecord record;
    const uint8_t* bytes = nullptr;
    uint64_t offset = 0;
    std::string why;
    switch (reader.next(&record, &bytes, &offset, &why)) {
      case JournalReader::Step::kRecord:
        walk.record(record, bytes);
        break;
      case JournalReader::Step::kDamaged:
        walk.damaged(offset, why);
        break;
      case JournalReader::Step::kEnd:
        walk.end();
        return true;
      case JournalReader::Step::kError:
        return false;
    }
  }
}

}  // namespace sarvik::verify
