#include "ifile/i_file.h"

#include "TYPES/type_pkg.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace {

using T = TYPE;

// A global that is just its type.
struct TYPED_SYMBOL : I_SYMTAB {
  TYPE* type;
  explicit TYPED_SYMBOL(TYPE* t) : type(t) {}
  const char* sym_name() const override { return "x"; }
  unsigned long sym_size() const override { return 0; }
  unsigned long sym_value() const override { return 0; }
  int sym_class() const override { return 2; }
  int sym_cqual() const override { return 0; }
  TYPE* sym_type() const override { return type; }
  TYPE* sym_cpp_type() const override { return nullptr; }
  unsigned sym_align() const override { return 16; }
  PSN* sym_psn() const override { return nullptr; }
  PRAGMA* sym_pragma() const override { return nullptr; }
  int sym_prag_num() const override { return 0; }
  unsigned sym_location() const override { return 0; }
  unsigned sym_option_set() const override { return 0; }
  unsigned sym_level() const override { return 0; }
  void set_level(unsigned) override {}
  void set_location(unsigned) override {}
  bool is_aliased() const override { return false; }
  short bitnum() const override { return 0; }
  long depnum() const override { return 0; }
  bool is_under_ARGREF() const override { return false; }
  void set_is_aliased(bool) override {}
  void set_bitnum(short) override {}
  void inc_bitnum() override {}
  void set_depnum(long) override {}
  void inc_depnum() override {}
  void set_is_under_ARGREF(bool) override {}
  void set_init_list(std::list<BASE_NODE*>) override {}
};

// Keeps the types of the globals it is given.
struct TYPE_CLIENT : IF_CLIENT {
  std::vector<std::unique_ptr<TYPED_SYMBOL>> symbols;
  bool cl_magic(int, int) override { return true; }
  void cl_source(const char*) override {}
  I_SYMTAB* cl_symbol_create(char*, TYPE* type, TYPE*, unsigned long, unsigned long, unsigned long,
                             int, int, PSN*, unsigned long, unsigned,
                             I_SYMTAB::RETENTION_POLICY) override {
    symbols.push_back(std::make_unique<TYPED_SYMBOL>(type));
    return symbols.back().get();
  }
  void cl_pragma(I_SYMTAB*, PRAGMA*) override {}
  void cl_symbol_def(I_SYMTAB*) override {}
  void cl_init(I_SYMTAB*) override {}
  void cl_merge_type_defs() override {}
  void cl_preprocess_statics() override {}
  void cl_begin_func(I_SYMTAB*, PSN*) override {}
  void cl_end_args(PSN*) override {}
  void cl_end_locals(PSN*) override {}
  void cl_begin_block(PSN*) override {}
  void cl_end_block(PSN*) override {}
  void cl_end_func(PSN*) override {}
  void cl_ir_end_func(PSN*) override {}
  void cl_expr(BASE_NODE*, PSN*) override {}
  void cl_label(unsigned) override {}
  void cl_inline_asm(char*, PSN*) override {}
  void cl_comment(char*) override {}
  void cl_func_info(int) override {}
  void cl_func_eht(EHT_ENTRY*, unsigned) override {}
  void cl_loop_def(unsigned, unsigned, unsigned long, unsigned long, unsigned long,
                   unsigned) override {}
  void cl_loop_header(unsigned, I_SYMTAB*, int) override {}
  void cl_dd_vector(int, int, int, DD_ENTRY*) override {}
  void cl_dd_edge(int, int, int) override {}
  void cl_mbank(int, int, int, int, int) override {}
};

using FILE_PTR = std::unique_ptr<I_FILE>;

std::string path_of(const char* name) {
  return testing::TempDir() + "type_records_" + name;
}

std::string contents(const std::string& path) {
  FILE* fp = fopen(path.c_str(), "rb");
  std::string s;
  for (int c; (c = getc(fp)) != EOF;)
    s += static_cast<char>(c);
  fclose(fp);
  return s;
}

class TypeRecords : public testing::Test {
protected:
  std::unique_ptr<TYPE_PKG> pkg{TYPE_PKG::init_type_pkg()};
  TYPE_CLIENT client;
  std::string path = path_of(testing::UnitTest::GetInstance()->current_test_info()->name());

  void TearDown() override { remove(path.c_str()); }

  // A file whose globals have those types.
  void write(const std::vector<TYPE*>& roots, bool named = false) {
    FILE_PTR out{I_FILE::if_create(fopen(path.c_str(), "w+b"), pkg.get(), "t.c", 0)};
    std::vector<std::unique_ptr<TYPED_SYMBOL>> symbols;
    for (TYPE* t : roots) {
      symbols.push_back(std::make_unique<TYPED_SYMBOL>(t));
      out->globals.push_back(symbols.back().get());
    }
    ASSERT_EQ(out->if_close(named, false), 0);
  }

  // A file whose types section holds what `fill` writes, as that version lays it out.
  void write_raw(const std::function<void(I_FILE&)>& fill, int version = ICODE_VERSION) {
    FILE_PTR out{I_FILE::if_create(fopen(path.c_str(), "w+b"), pkg.get(), "t.c", 0)};
    out->types_off = static_cast<uint32_t>(out->if_tell());
    fill(*out);
    ASSERT_EQ(out->if_close(false, false), 0);
    FILE* fp = fopen(path.c_str(), "r+b");
    fseek(fp, contents(path).find("!<icode>\n") + 10, SEEK_SET);
    putc(version & 0xFF, fp);
    fclose(fp);
  }

  FILE_PTR open() {
    FILE_PTR in{I_FILE::if_open(fopen(path.c_str(), "rb"), &client)};
    EXPECT_TRUE(in);
    in->if_type_init(pkg.get());
    return in;
  }

  FILE_PTR read() {
    FILE_PTR in = open();
    in->if_read_types();
    return in;
  }

  FILE_PTR read_raw(const std::function<void(I_FILE&)>& fill, int version = ICODE_VERSION) {
    write_raw(fill, version);
    return read();
  }

  void expect_death(const std::function<void(I_FILE&)>& fill, const char* message) {
    write_raw(fill);
    EXPECT_EXIT(read(), testing::ExitedWithCode(1), message);
  }
};

constexpr const char* INVALID = "INTERNAL ERROR: Invalid I-code record, aborting";

// Records for hand-made sections.
void begin(I_FILE& f, unsigned number, int code) {
  f.i_write_uint(number);
  f.i_write_i8(code);
}
void put_int(I_FILE& f, unsigned number, unsigned long size = 16) {
  begin(f, number, 6);
  f.i_write_bool(true);
  f.i_write_uint(size);
  f.i_write_uint(16);
  f.i_write_bool(false);
  f.i_write_bool(true);
  f.i_flush(TAG_TYPE);
}
void put_ptr(I_FILE& f, unsigned number, unsigned target, unsigned size = 32) {
  begin(f, number, 15);
  f.i_write_uint(target);
  f.i_write_uint(size);
  f.i_write_uint(size);
  f.i_flush(TAG_TYPE);
}
void put_array(I_FILE& f, unsigned number, unsigned elem, unsigned long count, unsigned long size) {
  begin(f, number, 18);
  f.i_write_uint(elem);
  f.i_write_uint(count);
  f.i_write_uint(size);
  f.i_write_uint(16);
  for (bool b : {false, true, false})
    f.i_write_bool(b);
  f.i_flush(TAG_TYPE);
}
void put_csu(I_FILE& f, unsigned number, bool is_long, unsigned long size = 16) {
  begin(f, number, is_long ? 25 : 24);
  f.i_write_i8(14);
  f.i_write_string(("s" + std::to_string(number)).c_str());
  f.i_write_bool(true);
  f.i_write_bool(false);
  f.i_write_uint(size);
  f.i_write_uint(16);
  if (is_long) f.i_write_uint(0);
  for (int n = is_long ? 9 : 1; n; n--)
    f.i_write_bool(true);
  f.i_write_bool(false);
  f.i_write_bool(false);
  f.i_write_uint(0);
  f.i_flush(TAG_TYPE);
}
void put_list(I_FILE& f, unsigned number, int code, int kind) {
  begin(f, number, code);
  f.i_write_i8(kind);
  f.i_flush(TAG_TYPE);
}
void put_member(I_FILE& f, unsigned csu, unsigned number, unsigned type, unsigned bit_size = 0) {
  begin(f, csu, 28);
  f.i_write_uint(number);
  f.i_write_string("");
  f.i_write_uint(type);
  f.i_write_i8(0);
  f.i_write_sint(0);
  f.i_write_i8(0x2a);
  f.i_write_uint(bit_size);
  for (bool b : {true, false, true})
    f.i_write_bool(b);
  f.i_write_uint(0);
  f.i_flush(TAG_TYPE);
}

} // namespace

// Everything there is, written, read into the same package, and written again: types that are
// shared by shape come back as the same objects, and the second file is the first.
TEST_F(TypeRecords, RoundTrip) {
  TYPE* i = pkg->basic[T::I_INT];
  TYPE* s = pkg->mk_struct("node");
  s->size = 96;
  s->align = 32;
  CSU_PARTS* parts = s->csu_parts();
  parts->complete = parts->has_long_form = parts->is_cpp = true;
  parts->vtable_size = 7;
  parts->psn = make_psn("t.c", 3, 4);
  TYPE* u = pkg->mk_union("u");
  fkMDATA next{.name = "next", .type = pkg->mk_ptr(s), .number = 1, .access = 2};
  fkMDATA field{.name = "field", .type = i, .number = 9, .bit_offset = 37, .bit_size = 3};
  field.flags[1] = true;
  field.psn = make_psn("u.h", 1, 2);
  pkg->add_member(s, next);
  pkg->add_member(s, field);
  parts->bases.push_back({pkg->mk_class("base"), 16, 1, true});
  parts->access_decls.push_back({0, 2});
  parts->friend_funcs.push_back({"ff", pkg->mk_func(s, true, true, 3, true, {{u, 5, "arg"}})});
  parts->friend_classes.push_back(u);
  parts->nested_types.push_back(pkg->mk_typedef("inner", true, i, 16, 16, true));
  parts->static_members.push_back({"sm", i, 1});
  parts->member_funcs.push_back({"mf", nullptr, 0, -1, {true, false, true, false}});
  parts->params.push_back({i, 2, "N"});
  TYPE* e = pkg->mk_enum("e", i, 16, 16);
  e->enum_parts()->enumerators = {{"minus", -1, nullptr}, {"big", 32767, make_psn("t.c", 9, 1)}};
  const std::vector<TYPE*> roots = {pkg->mk_array(pkg->mk_qual(pkg->mk_ptr(s), 65), 10),
                                    e,
                                    pkg->mk_fxtpt(i, -3),
                                    pkg->mk_complex(pkg->mk_fltpt(T::F_LDOUBLE)),
                                    pkg->mk_ptm(i, s, 32, 32),
                                    pkg->mk_ref(u),
                                    pkg->mk_bool_vector(4),
                                    pkg->basic[T::I_ULLONG],
                                    pkg->basic[T::I_WCHAR],
                                    pkg->mk_func(pkg->mk_void(), false, false, 0, false, {}),
                                    pkg->basic[T::I_ULONG]};
  write(roots);
  const std::string first = contents(path);

  FILE_PTR in = open();
  in->if_read_file();
  std::vector<TYPE*> back;
  for (const auto& symbol : client.symbols)
    back.push_back(symbol->type);
  ASSERT_EQ(back.size(), roots.size());
  for (size_t n : {2, 3, 6, 7, 8, 9, 10})
    EXPECT_EQ(back[n], roots[n]) << roots[n]->str();
  TYPE* s2 = back[0]->elem_type()->elem_type();
  ASSERT_NE(s2, s);
  EXPECT_EQ(in->find_mdataref(s2, 1)->type->elem_type(), s2);
  EXPECT_EQ(in->find_mdataref(s2, 9)->psn, field.psn);
  EXPECT_EQ(in->find_mdataref(s2, 2), nullptr);
  EXPECT_EQ(s2->csu_parts()->bases.at(0).type->csu_parts()->has_long_form, false);
  EXPECT_EQ(back[1]->enum_parts()->enumerators.at(0).value, -1);
  // A signed -1 is one byte behind its name.
  EXPECT_NE(first.find(std::string("minus\0\x7F", 7)), std::string::npos);
  in.reset();

  write(back);
  EXPECT_EQ(contents(path), first);
}

TEST_F(TypeRecords, OnlyReferredTypesAreWritten) {
  TYPE* lost = pkg->mk_struct("lost_one");
  pkg->mk_ptr(lost);
  write({pkg->mk_ptr(pkg->mk_struct("found"))});
  EXPECT_EQ(contents(path).find("lost_one"), std::string::npos);
  EXPECT_NE(contents(path).find("found"), std::string::npos);
  write({}, true);
  EXPECT_NE(contents(path).find("lost_one"), std::string::npos);
}

TEST_F(TypeRecords, OldForms) {
  auto fill = [](int version) {
    return [version](I_FILE& f) {
      put_int(f, 1);
      begin(f, 2, 18);
      for (unsigned long n : {1, 4, 64, 16})
        f.i_write_uint(n);
      f.i_write_bool(false);
      f.i_write_bool(true);
      if (version >= -76) f.i_write_bool(true);
      if (version == -75 || version == -74) f.i_write_bool(false);
      f.i_flush(TAG_TYPE);
      begin(f, 3, 22);
      f.i_write_string("e");
      for (unsigned long n : {16, 16, 1})
        f.i_write_uint(n);
      if (version >= -81) f.i_write_bool(true);
      f.i_write_uint(0);
      f.i_flush(TAG_TYPE);
      begin(f, 4, 24);
      f.i_write_i8(15);
      f.i_write_string("u");
      f.i_write_bool(true);
      f.i_write_bool(false);
      f.i_write_uint(16);
      f.i_write_uint(16);
      f.i_write_bool(true);
      if (version >= -84) f.i_write_bool(true);
      if (version >= -81) f.i_write_bool(true);
      f.i_write_uint(0);
      f.i_flush(TAG_TYPE);
      put_list(f, 4, 254, 7);
      begin(f, 4, 28);
      f.i_write_uint(5);
      f.i_write_string("bits");
      f.i_write_uint(1);
      f.i_write_i8(1);
      f.i_write_sint(2);
      if (version > -75) f.i_write_i8(0);
      if (version < -85) f.i_write_bool(true);
      f.i_write_uint(3);
      for (int n = version < -85 ? 1 : 3; n; n--)
        f.i_write_bool(true);
      f.i_write_uint(0);
      f.i_flush(TAG_TYPE);
      put_list(f, 4, 255, 7);
    };
  };
  for (int version = OLDEST_ICODE_VERSION; version <= ICODE_VERSION; version++) {
    FILE_PTR in = read_raw(fill(version), version);
    ASSERT_EQ(in->version, version);
    EXPECT_EQ(in->find_typeref(2)->is_vector(), version >= -76);
    EXPECT_EQ(in->find_typeref(3)->enum_parts()->is_cpp, version >= -81);
    EXPECT_EQ(in->find_typeref(4)->csu_parts()->vector_like, version >= -84);
    EXPECT_EQ(in->find_typeref(4)->csu_parts()->is_cpp, version >= -81);
    const fkMDATA* m = in->find_mdataref(in->find_typeref(4), 5);
    EXPECT_EQ(m->bit_size, 3u);
    EXPECT_STREQ(m->name, "bits");
  }
}

TEST_F(TypeRecords, QuirksOfForm) {
  FILE_PTR in = read_raw([](I_FILE& f) {
    put_int(f, 7);
    put_ptr(f, 1, 7, 22);
    put_csu(f, 2, false);
    put_ptr(f, 3, 2);
    put_csu(f, 2, true);
    put_list(f, 2, 254, 7);
    put_member(f, 2, 1, 3);
    put_list(f, 2, 254, 7); // a second stretch
    put_member(f, 2, 2, 7, 4);
    put_list(f, 2, 255, 7);
    // A function without its list.
    begin(f, 4, 20);
    f.i_write_uint(7);
    for (int n = 0; n < 4; n++)
      f.i_write_i8(0);
    f.i_flush(TAG_TYPE);
  });
  EXPECT_EQ(in->find_typeref(0), nullptr);
  EXPECT_EQ(in->find_typeref(1), pkg->mk_ptr(pkg->basic[T::I_INT]));
  EXPECT_EQ(in->find_typeref(2)->csu_parts()->members.size(), 2u);
  EXPECT_STREQ(in->find_mdataref(in->find_typeref(2), 1)->name, "fti:2a");
  EXPECT_TRUE(in->find_typeref(4)->is_func());
  EXPECT_EXIT(in->find_typeref(99), testing::ExitedWithCode(1),
              "TP>> internal error: invalid forward reference\n");
}

TEST_F(TypeRecords, DamagedSectionsAreRefused) {
  expect_death([](I_FILE& f) { put_int(f, 1), put_int(f, 1); }, "read type twice");
  expect_death([](I_FILE& f) { put_csu(f, 1, true), put_csu(f, 1, true); }, "read type twice");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 2); }, "invalid forward reference");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 1); }, "invalid forward reference");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 0); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 0); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1, 65); }, INVALID);
  expect_death([](I_FILE& f) { begin(f, 1, 200), f.i_flush(TAG_TYPE); }, INVALID);
  expect_death([](I_FILE& f) { begin(f, 1, 48), f.i_flush(TAG_TYPE); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_array(f, 2, 1, ~0ul, 16); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_array(f, 2, 1, 1, 1ul << 41); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_list(f, 1, 254, 7); }, INVALID);
  expect_death([](I_FILE& f) { put_csu(f, 1, true), put_list(f, 1, 254, 10); }, INVALID);
  expect_death([](I_FILE& f) { put_csu(f, 1, true), put_list(f, 1, 255, 7); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 2), put_csu(f, 1, true), put_member(f, 1, 1, 2); },
               INVALID);
  expect_death(
      [](I_FILE& f) {
        put_int(f, 2);
        put_csu(f, 1, true);
        put_list(f, 1, 254, 7);
        put_member(f, 1, 1, 2);
        put_member(f, 1, 1, 2); // the same number
      },
      INVALID);
  expect_death(
      [](I_FILE& f) {
        put_int(f, 1);
        for (unsigned n = 1; n <= 1001; n++)
          put_ptr(f, n + 1, n);
      },
      INVALID);
}

TEST_F(TypeRecords, ClassesWithinThemselvesAreRefused) {
  auto contain = [](I_FILE& f, unsigned csu, unsigned part) {
    put_list(f, csu, 254, 7);
    put_member(f, csu, 1, part);
    put_list(f, csu, 255, 7);
  };
  expect_death([&](I_FILE& f) { put_csu(f, 1, true), contain(f, 1, 1); }, INVALID);
  expect_death(
      [&](I_FILE& f) {
        put_csu(f, 1, false);
        put_csu(f, 2, false);
        put_array(f, 3, 1, 2, 32);
        contain(f, 1, 2);
        contain(f, 2, 3);
      },
      INVALID);
  // Within one another, but too deep to walk.
  auto nest = [&](unsigned levels) {
    return [&contain, levels](I_FILE& f) {
      for (unsigned n = 1; n <= levels; n++)
        put_csu(f, n, false);
      for (unsigned n = 1; n < levels; n++)
        contain(f, n, n + 1);
    };
  };
  expect_death(nest(100000), INVALID);
  EXPECT_TRUE(read_raw(nest(900)));
  // Many paths to the same parts are one walk.
  FILE_PTR in = read_raw([](I_FILE& f) {
    for (unsigned n = 1; n <= 100; n++)
      put_csu(f, n, false);
    for (unsigned n = 1; n < 100; n++) {
      put_list(f, n, 254, 7);
      for (unsigned k = 1; k <= 4; k++)
        put_member(f, n, k, n + 1);
      put_list(f, n, 255, 7);
    }
  });
  EXPECT_EQ(in->find_typeref(1)->csu_parts()->members.size(), 4u);
}
