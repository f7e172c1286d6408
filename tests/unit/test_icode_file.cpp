// The container: records in, records out, and the walks over a file's bytes.
#include "file_fixture.h"
#include "tools/unit/bytes.h"
#include "tools/unit/unit.h"

#include <functional>
#include <sys/resource.h>

namespace {

// Writes down what it is told.
struct LOG_CLIENT : IDLE_CLIENT {
  std::string log;

  template <class... VALUES> void note(const char* format, VALUES... values) {
    char text[200];
    snprintf(text, sizeof text, format, values...);
    log += text;
    log += '\n';
  }
  static unsigned line(const PSN* psn) { return psn ? psn->line : 0; }

  void cl_symbol_def(I_SYMTAB* sym) override {
    note("symbol %s %u", sym->sym_name(), sym->sym_level());
  }
  void cl_pragma(I_SYMTAB* sym, PRAGMA* pragma) override {
    note("pragma %d %s", pragma->kind, sym ? sym->sym_name() : "-");
    delete pragma;
  }
  void cl_begin_func(I_SYMTAB* func, PSN* psn) override {
    note("function %s @%u", func->sym_name(), line(psn));
  }
  void cl_end_args(PSN* psn) override { note("end of arguments @%u", line(psn)); }
  void cl_end_locals(PSN* psn) override { note("end of locals @%u", line(psn)); }
  void cl_begin_block(PSN* psn) override { note("{ @%u", line(psn)); }
  void cl_end_block(PSN* psn) override { note("} @%u", line(psn)); }
  void cl_end_func(PSN* psn) override { note("end @%u", line(psn)); }
  void cl_ir_end_func(PSN* psn) override { note("ir end @%u", line(psn)); }
  void cl_expr(BASE_NODE* root, PSN* psn) override {
    note("expression %d:%d @%u", root->op, root->vreg_id(), line(psn));
    erase_tree(static_cast<NODE*>(root));
  }
  void cl_label(unsigned number) override { note("label %u", number); }
  void cl_inline_asm(char* text, PSN* psn) override { note("asm %s @%u", text, line(psn)); }
  void cl_comment(char* text) override { note("comment of %zu", strlen(text)); }
  void cl_func_info(int info) override { note("info %d", info); }
  void cl_func_eht(EHT_ENTRY* entries, unsigned count) override {
    for (EHT_ENTRY* e = entries; e != entries + count; e++) {
      note("entry %u %u %u %u%s", e->id, e->kind, e->region, e->count, e->cleanup ? " tree" : "");
      if (e->catches)
        for (const I_CATCH_ENTRY& c : *e->catches)
          note("catch %s %u %d", c.type_name.c_str(), c.number, c.flag);
      delete e->catches;
      if (e->cleanup) erase_tree(static_cast<NODE*>(e->cleanup));
    }
  }
  void cl_loop_def(unsigned id, unsigned parent, unsigned long min, unsigned long max,
                   unsigned long multiple) override {
    note("loop %u %u %lu %lu %lu", id, parent, min, max, multiple);
  }
  void cl_loop_header(unsigned id, I_SYMTAB* lcv, int flag) override {
    note("in loop %u %s %d", id, lcv ? lcv->sym_name() : "-", flag);
  }
  void cl_dd_vector(int id, int kind, int n, DD_ENTRY* entries) override {
    note("vector %d %d", id, kind);
    for (int k = 0; k < n; k++)
      note("distance %d %d", entries[k].kind, entries[k].distance);
  }
  void cl_dd_edge(int from, int to, int kind) override { note("edge %d %d %d", from, to, kind); }
  void cl_mbank(int a, int b, int c, int d, int e) override {
    note("bank %d %d %d %d %d", a, b, c, d, e);
  }
};

class ICODE_FILE : public testing::Test {
protected:
  std::unique_ptr<TYPE_PKG> pkg{TYPE_PKG::init_type_pkg()};
  LOG_CLIENT client;
  std::string path = test_path(), second_path = test_path() + "_2";
  std::vector<std::unique_ptr<IDLE_SYMBOL>> symbols;

  void TearDown() override {
    remove(path.c_str());
    remove(second_path.c_str());
  }

  FILE_PTR create(const std::string& name) {
    return FILE_PTR{I_FILE::if_create(fopen(name.c_str(), "w+b"), pkg.get(), "t.c", 0)};
  }

  IDLE_SYMBOL* symbol(const char* name, PSN* psn = nullptr) {
    symbols.push_back(std::make_unique<IDLE_SYMBOL>(pkg->mk_plain_int(), name, psn));
    return symbols.back().get();
  }

  FILE_PTR open(const std::string& name) {
    FILE_PTR in{I_FILE::if_open(fopen(name.c_str(), "rb"), &client)};
    EXPECT_TRUE(in);
    in->if_type_init(pkg.get());
    return in;
  }

  // Replaces bytes of the file.
  void patch(long offset, const std::string& bytes) const {
    FILE* fp = fopen(path.c_str(), "r+b");
    fseek(fp, offset, SEEK_SET);
    fwrite(bytes.data(), 1, bytes.size(), fp);
    fclose(fp);
  }
};

// A function with a comment of that many bytes.
void write_commented(I_FILE& f, I_SYMTAB* func, size_t length) {
  f.if_write_begin_func(func, nullptr);
  f.if_write_end_args(nullptr);
  f.if_write_comment(std::string(length, 'c').c_str());
  f.if_write_end_func(nullptr);
}

PSN* at(unsigned line) {
  return make_psn("t.c", line, 1);
}

} // namespace

TEST_F(ICODE_FILE, EveryRecordOfAFunction) {
  FILE_PTR out = create(path);
  IDLE_SYMBOL* f = symbol("f");
  out->if_enter_global(f);
  out->if_write_begin_func(f, at(1));
  IDLE_SYMBOL* p = symbol("p");
  out->if_enter_local(p);
  out->if_write_symbol(p);
  out->if_write_end_args(at(2));
  out->if_write_end_locals(at(3));
  out->if_write_func_info(-3);
  EHT_ENTRY entries[3] = {};
  std::vector<I_CATCH_ENTRY> catches = {{"int", 7, true}, {"", 8, false}};
  entries[1] = {1, EHK_CATCH, 0, 2, &catches, nullptr};
  entries[2] = {2, EHK_CLEANUP, 1, 9, nullptr, nullptr}; // without a tree
  out->if_write_func_eht(entries, 3);
  out->if_write_loop(1, 2, 3, 1ul << 40, 4, 0xFFFF);
  out->if_write_begin_block(at(4));
  out->if_write_inloop(1, p, 2);
  out->if_write_inloop(1, nullptr, 0);
  out->if_write_label(5);
  NODE* reg = new_node(VREG, pkg->mk_plain_int());
  reg->mk_vreg(-6);
  out->if_write_expr(reg, at(5));
  erase_tree(static_cast<NODE*>(reg));
  DD_ENTRY distances[2] = {{200, -100}, {1, 127}};
  out->if_write_dep_vector(distances, 1, 2, 2);
  out->if_write_dep_edge(1, 2, 3);
  out->if_write_mbank(1, 2, 3, 4, 5);
  out->if_write_ldspec_induct(1, 2, -3, pkg->mk_plain_int(), -1, 4);
  out->if_write_ldspec_rand(1, 2, 3, nullptr, 0, 4);
  out->if_write_ldspec_region(1, INT32_MAX);
  out->if_write_assembly("nop", at(6));
  out->if_write_end_block(at(7));
  out->if_write_end_func(at(8));
  ASSERT_EQ(out->if_close(false, false), 0);

  open(path)->if_read_file();
  EXPECT_EQ(client.log, "symbol f 0\n"
                        "function f @1\n"
                        "symbol p 1\n"
                        "end of arguments @2\n"
                        "end of locals @3\n"
                        "info -3\n"
                        "entry 0 0 0 0\n"
                        "entry 1 2 0 2\n"
                        "catch int 7 1\n"
                        "catch  8 0\n"
                        "entry 2 1 1 9\n"
                        "loop 1 2 3 1099511627776 4\n"
                        "{ @4\n"
                        "in loop 1 p 2\n"
                        "in loop 1 - 0\n"
                        "label 5\n"
                        "expression 163:-6 @5\n"
                        "vector 1 2\n"
                        "distance 200 -100\n"
                        "distance 1 127\n"
                        "edge 1 2 3\n"
                        "bank 1 2 3 4 5\n"
                        "asm nop @6\n"
                        "} @7\n"
                        "end @8\n");
}

// Functions one by one: skipped, read from where the file stands, and read at an offset. The
// stream is that of another file, copied in pieces.
TEST_F(ICODE_FILE, FunctionsOneByOne) {
  FILE_PTR out = create(path);
  const size_t lengths[3] = {20000, 3, 8192};
  unsigned long starts[4];
  for (const char* name : {"f0", "f1", "f2"})
    out->if_enter_global(symbol(name));
  for (int k = 0; k < 3; k++) {
    starts[k] = out->if_tell();
    write_commented(*out, out->globals[k], lengths[k]);
  }
  starts[3] = out->if_tell();
  ASSERT_EQ(out->if_close(false, false), 0);
  const std::string first = contents(path);

  FILE_PTR in = open(path);
  in->if_read_file();
  const auto function = [&](int k) {
    return "function f" + std::to_string(k) + " @0\nend of arguments @0\ncomment of " +
           std::to_string(lengths[k]) + "\nend @0\n";
  };
  const std::string tables = "symbol f0 0\nsymbol f1 0\nsymbol f2 0\n";
  EXPECT_EQ(client.log, tables + function(0) + function(1) + function(2));

  client.log.clear();
  in->if_read_func(starts[1]);
  EXPECT_EQ(client.log, function(1));
  EXPECT_EQ(in->if_tell(), starts[2]);
  EXPECT_EQ(in->level, 0u);
  in->if_seek(starts[0]);
  in->if_skip_func();
  EXPECT_EQ(in->if_tell(), starts[1]);
  in->if_skip_func();
  in->if_read_func(0);
  EXPECT_EQ(client.log, function(1) + function(2));
  EXPECT_EQ(in->if_tell(), starts[3]);
  // At the end of the stream there is nothing to read or skip.
  in->if_read_func(starts[3]);
  in->if_seek(starts[3]);
  in->if_skip_func();
  EXPECT_EQ(client.log, function(1) + function(2));
  EXPECT_EXIT(in->if_seek(first.size() + 1), testing::ExitedWithCode(1), "Invalid I-code record");

  FILE_PTR copy = create(second_path);
  copy->if_copy_symbols(in.get());
  copy->if_copy_raw(starts[0], starts[3] - starts[0], in.get());
  EXPECT_EQ(copy->if_tell(), starts[3]);
  EXPECT_EXIT(copy->if_copy_raw(starts[3], first.size(), in.get()), testing::ExitedWithCode(1),
              "Invalid I-code record");
  ASSERT_EQ(copy->if_close(false, false), 0);
  EXPECT_EQ(contents(second_path), first);
}

TEST_F(ICODE_FILE, FramesAreChecked) {
  FILE_PTR out = create(path);
  out->if_enter_global(symbol("f"));
  out->if_write_comment("before");
  const unsigned long bad = out->if_tell();
  out->if_write_comment("middle");
  out->if_write_comment("behind");
  ASSERT_EQ(out->if_close(false, false), 0);

  const auto check = [&] {
    FILE_PTR in = open(path);
    testing::internal::CaptureStdout();
    const bool good = in->if_check_lengths();
    EXPECT_GT(in->if_tell(), 0u) << "the reader stands where it stood";
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(good, text.empty());
    return text;
  };
  EXPECT_EQ(check(), "");
  const std::string place = "@" + std::to_string(bad) + ",id=47,sz=";
  const std::string previous = ",prev [@" + std::to_string(bad - 9) + ",id=47,sz=7]\n";
  patch(static_cast<long>(bad) + 1, "\x7f");
  EXPECT_EQ(check(), ">>I-file error:" + place + "127" + previous);
  // A length that never ends, and one that the file's end cuts.
  patch(static_cast<long>(bad) + 1, std::string(12, '\xff'));
  EXPECT_EQ(check().substr(0, 15 + place.size()), ">>I-file error:" + place);
  patch(static_cast<long>(bad) + 1, std::string("\x07middle\0\x2f\x07"
                                                "be",
                                                12));
  EXPECT_EQ(check(), "");
  patch(static_cast<long>(contents(path).size()), "\x2f\x80");
  EXPECT_EQ(check().substr(0, 16), ">>I-file error:@");
}

// The number of a file that the table lacks has no name, whatever the symbols before it have.
// A field of 32 bits holds no more: 2^32 is not taken for 0, as a level of it would name a global.
TEST_F(ICODE_FILE, WideReferencesAreRefused) {
  using WRITE = std::function<void(I_FILE&, unsigned long)>; // the second is added to one field
  auto record = [](int tag, std::vector<unsigned long> fields, size_t wide) -> WRITE {
    return [=](I_FILE& f, unsigned long more) {
      for (size_t k = 0; k < fields.size(); k++)
        f.i_write_uint(fields[k] + (k == wide ? more : 0));
      if (tag == TAG_LOOP_DEF) f.i_write_i16(0);
      if (tag == TAG_IN_LOOP) f.i_write_i8(0);
      f.i_flush(tag);
    };
  };
  // An expression: operator, type, fields; behind it a leaf, where it has an operand.
  auto node = [](int op, std::vector<unsigned long> fields, size_t wide) -> WRITE {
    return [=](I_FILE& f, unsigned long more) {
      f.if_write_expr(nullptr, nullptr);
      f.i_write_i8(op);
      f.i_write_uint(0);
      for (size_t k = 0; k < fields.size(); k++)
        f.i_write_uint(fields[k] + (k == wide ? more : 0));
      if (op == DDNODE) f.i_write_i8(0);
      f.i_flush(TAG_NODE);
      for (int k = 0; k < if_node_info[op].operands; k++) {
        f.i_write_i8(VREG);
        f.i_write_uint(0);
        f.i_write_sint(1);
        f.i_flush(TAG_NODE);
      }
    };
  };
  const std::vector<WRITE> writers = {node(NAME, {NO_SYMBOL_LEVEL, 0}, 0),
                                      node(LABEL, {7}, 0),
                                      node(SKIP, {1}, 0),
                                      node(SWITCH, {1}, 0),
                                      node(CALL, {1, 0}, 0),
                                      node(CALL, {1, 0}, 1),
                                      node(UCALL, {1}, 0),
                                      node(DDNODE, {1, 2}, 0),
                                      node(DDNODE, {1, 2}, 1),
                                      node(EPVAL, {1}, 0),
                                      record(TAG_LABEL, {5}, 0),
                                      record(TAG_DD_EDGE, {1, 2, 3}, 0),
                                      record(TAG_DD_EDGE, {1, 2, 3}, 2),
                                      record(TAG_MBANK, {1, 2, 3, 4, 5}, 4),
                                      record(TAG_LOOP_DEF, {1, 2, 3, 4, 5}, 0),
                                      record(TAG_LOOP_DEF, {1, 2, 3, 4, 5}, 1),
                                      record(TAG_IN_LOOP, {1, 0, 0}, 0),
                                      record(TAG_IN_LOOP, {1, 0, 0}, 1),
                                      record(TAG_IN_LOOP, {1, 0, 0}, 2)};
  for (size_t k = 0; k < writers.size(); k++) {
    for (unsigned long more : {0ul, 1ul << 32}) {
      FILE_PTR out = create(path);
      out->if_enter_global(symbol("f"));
      out->if_write_begin_func(out->globals[0], nullptr);
      out->if_write_end_args(nullptr);
      writers[k](*out, more);
      out->if_write_end_func(nullptr);
      ASSERT_EQ(out->if_close(false, false), 0);
      auto read = [&] {
        open(path)->if_read_file();
        exit(0);
      };
      EXPECT_EXIT(read(), testing::ExitedWithCode(more ? 1 : 0),
                  more ? "Invalid I-code record" : "")
          << "writer " << k;
    }
  }
}

TEST_F(ICODE_FILE, PositionsOutsideOfTheTable) {
  FILE_PTR out = create(path);
  out->if_enter_global(symbol("a", make_psn("a.c", 1, 1)));
  out->if_enter_global(symbol("b", make_psn("b.c", 2, 1)));
  EXPECT_EQ(out->file_names.size(), 2u);
  EXPECT_EQ(out->i_enter_file_name("a.c"), 1u);
  ASSERT_EQ(out->if_close(false, false), 0);
  const std::string bytes = contents(path);
  // b's position, in the last but one of its record's fields.
  const size_t place = bytes.rfind(std::string("\x02\x02\x01\x00", 4));
  ASSERT_NE(place, std::string::npos);
  patch(static_cast<long>(place), "\x03");

  FILE_PTR in = open(path);
  in->if_read_file();
  EXPECT_EQ(in->file_names.size(), 2u);
  EXPECT_STREQ(client.symbols.at(0)->psn->file, "a.c");
  EXPECT_EQ(client.symbols.at(1)->psn->file, nullptr);
  EXPECT_EQ(client.symbols.at(1)->psn->line, 2u);
}

// A field of 32 bits takes the low ones of what is written, however long that is, here and in the
// tools; a constant that needs more travels as decimal text.
TEST_F(ICODE_FILE, SignedNumbers) {
  const std::pair<std::string, int32_t> fields[] = {
      {std::string("\0", 1), 0},
      {"\x7f", -1},
      {"\xff\x7f", -1}, // a group more than needed
      {"\x3f", 63},
      {std::string("\xc0\0", 2), 64},
      {"\x40", -64},
      {"\xbf\x7f", -65},
      {"\xff\xff\xff\x7f", -1}, // 28 bits
      {"\xff\xff\xff\xff\x07", INT32_MAX},
      {"\xff\xff\xff\xff\x0f", -1}, // 2^32 - 1
      {"\xff\xff\xff\xff\x7f", -1},
      {"\x80\x80\x80\x80\x78", INT32_MIN},
      {"\x80\x80\x80\x80\x08", INT32_MIN}, // 2^31
      {"\x85\x80\x80\x80\x10", 5},         // 2^32 + 5
      {"\xff\xff\xff\xff\xff\xff\xff\xff\x7f", -1},
  };
  FILE_PTR out = create(path);
  const unsigned long start = out->if_tell();
  std::string all;
  for (const auto& [bytes, value] : fields)
    all += bytes;
  out->i_write_raw(all.data(), static_cast<int>(all.size()));
  out->i_flush(TAG_LIR);
  ASSERT_EQ(out->if_close(false, false), 0);
  FILE_PTR in = open(path);
  int tag, len;
  in->if_seek(start);
  in->i_read_header(tag, len);
  icode::READER reader({reinterpret_cast<const uint8_t*>(all.data()), all.size()});
  for (const auto& [bytes, value] : fields) {
    EXPECT_EQ(in->i_read_sint(), value);
    EXPECT_EQ(reader.sint(), value);
  }
}

TEST_F(ICODE_FILE, SignedNumbersOf64Bits) {
  const long values[] = {0, -1, 63, -64, INT32_MAX + 1l, INT32_MIN - 1l, INT64_MAX, INT64_MIN};
  FILE_PTR out = create(path);
  const unsigned long start = out->if_tell();
  for (long v : values)
    out->i_write_sint(v);
  out->i_flush(TAG_LIR);
  ASSERT_EQ(out->if_close(false, false), 0);
  FILE_PTR in = open(path);
  int tag, len;
  in->if_seek(start);
  in->i_read_header(tag, len);
  EXPECT_EQ(tag, TAG_LIR);
  for (long v : values)
    EXPECT_EQ(in->i_read_wide_sint(), v);
}

TEST_F(ICODE_FILE, RecordsGrowAndMemoryEnds) {
  FILE_PTR out = create(path);
  for (size_t length : {32767, 32768, 100000})
    out->if_write_comment(std::string(length, 'c').c_str());
  for (int k = 0; k < 40000; k++)
    out->i_write_i8('c');
  out->i_write_i8(0);
  out->i_flush(TAG_COMMENT);
  ASSERT_EQ(out->if_close(false, false), 0);
  open(path)->if_read_file();
  EXPECT_EQ(client.log,
            "comment of 32767\ncomment of 32768\ncomment of 100000\ncomment of 40000\n");

#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "its own memory lets no limit be set";
#endif
  const auto write_without_end = [this] {
    FILE_PTR endless = create(second_path);
    rlimit limit;
    limit.rlim_cur = limit.rlim_max = 256ul << 20;
    setrlimit(RLIMIT_AS, &limit);
    const std::string piece(1 << 20, 'c');
    for (int k = 0; k < 1000; k++)
      endless->i_write_string(piece.c_str());
  };
  EXPECT_EXIT(write_without_end(), testing::ExitedWithCode(1),
              ">> ICODE Buffer size exceeded and realloc failed");
}

// What has no place in a file, or no meaning, is refused by name, here and in the tools.
class ICODE_FILE_FORMS : public ICODE_FILE {
protected:
  std::string tools_message() const {
    const std::string bytes = contents(path);
    icode::UNIT unit;
    std::string error;
    const auto* begin = reinterpret_cast<const uint8_t*>(bytes.data());
    return icode::decode_unit({begin, bytes.size()}, unit, error) ? "" : error;
  }

  void expect_refused(const char* here, const char* in_tools) {
    FILE_PTR in = open(path);
    EXPECT_EXIT(in->if_read_file(), ::testing::ExitedWithCode(1), here);
    EXPECT_NE(tools_message().find(in_tools), std::string::npos) << tools_message();
  }

  IDLE_SYMBOL* symbol_of(TYPE* type) {
    symbols.push_back(std::make_unique<IDLE_SYMBOL>(type, "x", nullptr));
    return symbols.back().get();
  }
};

TEST_F(ICODE_FILE_FORMS, AFileNameInTheFunctionStream) {
  FILE_PTR out = create(path);
  out->i_write_string("b.c");
  out->i_flush(TAG_FILE_NAME);
  ASSERT_EQ(out->if_close(false, false), 0);
  expect_refused("File name in the function stream", "a file name in the function stream");
}

TEST_F(ICODE_FILE_FORMS, APragmaWithoutASymbolAmongTheGlobals) {
  struct HAS_MORE_PRAGMAS : IDLE_SYMBOL {
    PRAGMA more;
    explicit HAS_MORE_PRAGMAS(TYPE* t) : IDLE_SYMBOL(t, "x", nullptr) { more.kind = 7; }
    PRAGMA* sym_pragma() const override { return const_cast<PRAGMA*>(&more); }
  };
  FILE_PTR out = create(path);
  symbols.push_back(std::make_unique<HAS_MORE_PRAGMAS>(pkg->mk_plain_int()));
  out->if_enter_global(symbols.back().get());
  ASSERT_EQ(out->if_close(false, false), 0);
  expect_refused("Pragma without a symbol", "a pragma without a symbol among the globals");
}

TEST_F(ICODE_FILE_FORMS, AnEnumerationOfSize0) {
  FILE_PTR out = create(path);
  out->if_enter_global(symbol_of(pkg->mk_enum("e", pkg->mk_plain_int(), 0, 16)));
  ASSERT_EQ(out->if_close(false, false), 0);
  expect_refused("Enumeration of size 0", "an enumeration of size 0");
}

// template <class T, int n> struct holder
TEST_F(ICODE_FILE_FORMS, AClassParameterMayBeAType) {
  FILE_PTR out = create(path);
  TYPE* holder = pkg->mk_struct("holder");
  holder->size = holder->align = 16;
  holder->csu_parts()->complete = true;
  holder->csu_parts()->has_long_form = true;
  holder->csu_parts()->params = {{nullptr, 0, "T"}, {pkg->mk_plain_int(), 0, "n"}};
  out->if_enter_global(symbol_of(holder));
  ASSERT_EQ(out->if_close(false, false), 0);
  EXPECT_EQ(tools_message(), "");
  FILE_PTR in = open(path);
  in->if_read_file();
  const std::vector<TYPE_PARAM>& back = client.symbols.at(0)->type->csu_parts()->params;
  ASSERT_EQ(back.size(), 2u);
  EXPECT_EQ(back[0].type, nullptr);
  EXPECT_STREQ(back[0].name, "T");
  EXPECT_EQ(back[1].type, pkg->mk_plain_int());
}
