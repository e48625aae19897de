// Does one kind of work a given number of times, so that the calls to the system can be counted
// from outside: `calls FOLDER KIND TIMES`. Set-up and warming are the same whatever TIMES is, so
// the difference between two runs is what the work costs. The script beside this file runs it.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "../customers.h"
#include "../require.h"
#include "../vq_table.h"

namespace vqdb::bench {

namespace {

constexpr std::int32_t kManyPages = 100000;

struct Place {
  std::string table;
  std::string index;
};

VqIndex* open_index(VqTable* table, const Place& place, std::uint32_t mode) {
  VqIndex* const index = dNopen(table, place.index.c_str(), mode, kManyPages);
  require(index != nullptr, "dNopen");
  return index;
}

std::array<char, 128> buffer;

void prepare(const Place& place, std::uint32_t) {
  Block block;
  create_customer_table(block, place.table);
  require(dNcreat(block, place.index.c_str(), "NAME", "C30") == 0, "dNcreat");
  const Table table(block, place.table, 0, 64);
  append_customers(table);
  VqIndex* const index = open_index(table, place, 0);
  for (const Customer& customer : customers()) {
    require(dNputkey(index, customer.name.data(), customer.id) == 0, "dNputkey");
  }
  require(dNclose(index) == 0, "dNclose");
}

void read_cached(const Place& place, std::uint32_t times) {
  Block block;
  const Table table(block, place.table, 0, static_cast<std::int32_t>(record_count()));
  const auto count = static_cast<std::uint32_t>(record_count());
  for (std::uint32_t n = 1; n <= count; ++n) dDgetrec(table, n, buffer.data());
  for (std::uint32_t i = 0; i < times; ++i) {
    require(dDgetrec(table, random_order()[i % count], buffer.data()) == 0, "dDgetrec");
  }
}

void read_in_order(const Place& place, std::uint32_t times, std::int32_t buffers) {
  Block block;
  const Table table(block, place.table, 0, buffers);
  for (std::uint32_t n = 1; n <= times; ++n) {
    require(dDgetrec(table, n, buffer.data()) == 0, "dDgetrec");
  }
}

void append_shared(const Place& place, std::uint32_t times) {
  Block block;
  const Table table(block, place.table, 2, 4);
  format_record(customers()[0], buffer.data());
  for (std::uint32_t i = 0; i < times; ++i) {
    require(dDapprec(table, buffer.data()) == 0, "dDapprec");
  }
}

void with_warm_index(const Place& place, const std::function<void(VqIndex*)>& work) {
  Block block;
  const Table table(block, place.table, 0, 1);
  VqIndex* const index = open_index(table, place, 0);
  std::uint32_t recno = 0;
  while (dNnxtkey(index, buffer.data(), &recno) == 0) {
  }
  work(index);
  require(dNclose(index) == 0, "dNclose");
}

void seek(const Place& place, std::uint32_t times) {
  with_warm_index(place, [&](VqIndex* index) {
    std::uint32_t recno = 0;
    for (std::uint32_t i = 0; i < times; ++i) {
      const Customer& customer = customers()[random_order()[i % record_count()] - 1];
      require(dNgetrno(index, customer.name.data(), &recno) == 0, "dNgetrno");
    }
  });
}

void walk(const Place& place, std::uint32_t times) {
  with_warm_index(place, [&](VqIndex* index) {
    std::uint32_t recno = 0;
    dNrewind(index);
    for (std::uint32_t i = 0; i < times; ++i) {
      require(dNnxtkey(index, buffer.data(), &recno) == 0, "dNnxtkey");
    }
  });
}

// The table with its index, as several programs would open it.
void with_shared_database(const Place& place, const std::function<void(VqDatabase*)>& work) {
  Block block;
  VqIndexSpec index = {VQ_KIND_NDX, place.index.c_str(), kManyPages, nullptr};
  VqDatabase* database = nullptr;
  require(DBopen(block, place.table.c_str(), VQ_OPEN_SHARED | VQ_OPEN_NO_INDEX_LIST, 4,
                 VQ_SPECS_ARRAY, 1, &index, &database, nullptr) == 0,
          "DBopen");
  work(database);
  require(DBclose(database) == 0, "DBclose");
}

void append_with_index(const Place& place, std::uint32_t times) {
  with_shared_database(place, [&](VqDatabase* database) {
    std::uint32_t recno = 0;
    for (std::uint32_t i = 0; i < times; ++i) {
      format_record(customers()[random_order()[i % record_count()] - 1], buffer.data());
      require(DBapprec(database, buffer.data(), &recno) == 0, "DBapprec");
    }
  });
}

void update_key(const Place& place, std::uint32_t times) {
  with_shared_database(place, [&](VqDatabase* database) {
    for (std::uint32_t i = 0; i < times; ++i) {
      format_record(customers()[(i + 1) % record_count()], buffer.data());
      require(DBupdrec(database, random_order()[i % record_count()], buffer.data()) == 0,
              "DBupdrec");
    }
  });
}

void read_by_key(const Place& place, std::uint32_t times) {
  with_shared_database(place, [&](VqDatabase* database) {
    VqMember order;
    require(GRPmember(database, VQ_KIND_NDX, nullptr, nullptr, &order) == 0, "GRPmember");
    std::uint32_t recno = 0;
    for (std::uint32_t i = 0; i < times; ++i) {
      const Customer& customer = customers()[random_order()[i % record_count()] - 1];
      require(DBgetrec(&order, customer.name.data(), buffer.data(), &recno) == 0, "DBgetrec");
    }
  });
}

const std::map<std::string, std::function<void(const Place&, std::uint32_t)>> kKinds = {
    {"prepare", prepare},
    {"cached-read", read_cached},
    {"read-in-order-1-buffer",
     [](const Place& place, std::uint32_t times) { read_in_order(place, times, 1); }},
    {"read-in-order-64-buffers",
     [](const Place& place, std::uint32_t times) { read_in_order(place, times, 64); }},
    {"cached-seek", seek},
    {"cached-step", walk},
    {"shared-append", append_shared},
    {"shared-read-by-key", read_by_key},
    {"shared-update-of-key", update_key},
    {"shared-append-with-index", append_with_index},
};

}  // namespace
}  // namespace vqdb::bench

int main(int argc, char** argv) {
  using namespace vqdb::bench;
  require(argc == 4 && kKinds.contains(argv[2]), "usage: calls FOLDER KIND TIMES");
  customers();
  random_order();
  const std::string folder = argv[1];
  kKinds.at(argv[2])({folder + "/CALLS.DBF", folder + "/CALLS.NDX"},
                     static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10)));
  return 0;
}
