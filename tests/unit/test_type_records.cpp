#include "file_fixture.h"

#include <functional>

namespace {

using T = TYPE;

class TypeRecords : public testing::Test {
protected:
  std::unique_ptr<TYPE_PKG> pkg{TYPE_PKG::init_type_pkg()};
  IDLE_CLIENT client;
  std::string path = test_path();

  void TearDown() override { remove(path.c_str()); }

  // A file whose globals have those types.
  void write(const std::vector<TYPE*>& roots, bool named = false) {
    FILE_PTR out{I_FILE::if_create(fopen(path.c_str(), "w+b"), pkg.get(), "t.c", 0)};
    std::vector<std::unique_ptr<IDLE_SYMBOL>> symbols;
    for (TYPE* t : roots) {
      symbols.push_back(std::make_unique<IDLE_SYMBOL>(t));
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

constexpr const char* INVALID =
    "INTERNAL ERROR: Invalid I-code record, aborting|Input is nested too deeply";

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
void put_member(I_FILE& f, unsigned csu, unsigned number, unsigned type, unsigned bit_size = 0,
                const char* name = "", long offset = 0) {
  begin(f, csu, 28);
  f.i_write_uint(number);
  f.i_write_string(name);
  f.i_write_uint(type);
  f.i_write_i8(0);
  f.i_write_sint(offset);
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
  fkMDATA dark{.name = "dark", .type = pkg->mk_unknown(), .number = 10};
  field.flags[1] = true;
  field.psn = make_psn("u.h", 1, 2);
  pkg->add_member(s, next);
  pkg->add_member(s, field);
  pkg->add_member(s, dark);
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
                                    pkg->basic[T::I_ULONG],
                                    pkg->mk_unknown(),
                                    pkg->mk_ptr(pkg->mk_unknown())};
  write(roots);
  const std::string first = contents(path);

  FILE_PTR in = open();
  in->if_read_file();
  std::vector<TYPE*> back;
  for (const auto& symbol : client.symbols)
    back.push_back(symbol->type);
  ASSERT_EQ(back.size(), roots.size());
  for (size_t n : {2, 3, 6, 7, 8, 9, 10, 11, 12})
    EXPECT_EQ(back[n], roots[n]) << roots[n]->str();
  TYPE* s2 = back[0]->elem_type()->elem_type();
  ASSERT_NE(s2, s);
  EXPECT_EQ(in->find_mdataref(s2, 1)->type->elem_type(), s2);
  EXPECT_EQ(in->find_mdataref(s2, 9)->psn, field.psn);
  EXPECT_TRUE(in->find_mdataref(s2, 10)->type->is_unknown());
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

// An enumerator has no other form than its number, so it keeps all of 64 bits.
TEST_F(TypeRecords, EnumeratorsOfAllWidths) {
  const std::vector<long> values = {-1,
                                    INT32_MIN,
                                    INT32_MIN - 1l,
                                    INT32_MAX,
                                    INT32_MAX + 1l,
                                    -1099511627776l,
                                    -(1l << 34) - 1,
                                    INT64_MIN,
                                    INT64_MAX,
                                    -64};
  std::vector<TYPE*> roots;
  for (T::IKIND under : {T::I_LLONG, T::I_ULLONG}) {
    roots.push_back(pkg->mk_enum("e", pkg->basic[under], 64, 32));
    for (long v : values)
      roots.back()->enum_parts()->enumerators.push_back({"v", v, nullptr});
  }
  write(roots);
  open()->if_read_file();
  ASSERT_EQ(client.symbols.size(), roots.size());
  for (const auto& symbol : client.symbols) {
    const auto& back = symbol->type->enum_parts()->enumerators;
    ASSERT_EQ(back.size(), values.size());
    for (size_t i = 0; i < values.size(); i++)
      EXPECT_EQ(back[i].value, values[i]);
  }
}

// A fixed-type id names its member, and what the record called it is kept for the output.
TEST_F(TypeRecords, FixedTypeNames) {
  FILE_PTR in = read_raw([](I_FILE& f) {
    put_int(f, 7);
    put_csu(f, 1, true);
    put_list(f, 1, 254, 7);
    put_member(f, 1, 1, 7, 0, "");
    put_member(f, 1, 2, 7, 0, "given");
    put_member(f, 1, 3, 7, 0, "fti:2a");
    put_list(f, 1, 255, 7);
  });
  TYPE* csu = in->find_typeref(1);
  for (unsigned n : {1, 2, 3})
    EXPECT_STREQ(in->find_mdataref(csu, n)->name, "fti:2a");
  in.reset();
  write({csu});
  in = read();
  const char* const given[] = {"", "given", "fti:2a"};
  for (unsigned n : {1, 2, 3})
    EXPECT_STREQ(in->find_mdataref(in->find_typeref(1), n)->record_name, given[n - 1]);
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
  // After a class's short form only its long form may follow.
  expect_death([](I_FILE& f) { put_csu(f, 1, false), put_int(f, 1); }, "read type twice");
  expect_death([](I_FILE& f) { put_csu(f, 1, false), put_csu(f, 1, false); }, "read type twice");
  expect_death([](I_FILE& f) { put_int(f, 1), put_csu(f, 1, false); }, "read type twice");
  expect_death([](I_FILE& f) { put_int(f, 2), put_csu(f, 1, false), put_ptr(f, 1, 2); },
               "read type twice");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 2); }, "invalid forward reference");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 1); }, "invalid forward reference");
  expect_death([](I_FILE& f) { put_ptr(f, 1, 0); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 0); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1, 65); }, INVALID);
  expect_death([](I_FILE& f) { begin(f, 1, 200), f.i_flush(TAG_TYPE); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_array(f, 2, 1, ~0ul, 16); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_array(f, 2, 1, 1, 1ul << 41); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 1), put_list(f, 1, 254, 7); }, INVALID);
  expect_death([](I_FILE& f) { put_csu(f, 1, true), put_list(f, 1, 254, 10); }, INVALID);
  expect_death([](I_FILE& f) { put_csu(f, 1, true), put_list(f, 1, 255, 7); }, INVALID);
  expect_death([](I_FILE& f) { put_int(f, 2), put_csu(f, 1, true), put_member(f, 1, 1, 2); },
               INVALID);
  // A member beyond 32 bits is not one at the beginning.
  for (long offset : {-1L, 1L << 31, 1L << 32})
    expect_death(
        [offset](I_FILE& f) {
          put_int(f, 2);
          put_csu(f, 1, true, 1ul << 36);
          put_list(f, 1, 254, 7);
          put_member(f, 1, 1, 2, 0, "m", offset);
        },
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
