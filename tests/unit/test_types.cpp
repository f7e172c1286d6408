#include "TYPES/pbset.h"
#include "TYPES/type_pkg.h"
#include "TYPES/type_values.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <thread>

namespace {

using T = TYPE;

class Types : public testing::Test {
protected:
  std::unique_ptr<TYPE_PKG> pkg{TYPE_PKG::init_type_pkg()};
  TYPE* basic(int slot) { return pkg->basic[slot]; }
  TYPE* typedef_of(TYPE* t, const char* name) {
    return pkg->mk_typedef(name, false, t, t->size, t->align, false);
  }
  TYPE* func(TYPE* ret, std::vector<TYPE_PARAM> params) {
    return pkg->mk_func(ret, true, false, T::CC_C, false, std::move(params));
  }
};

} // namespace

TEST_F(Types, EqualShapesAreOneType) {
  TYPE* i = basic(T::I_INT);
  EXPECT_EQ(pkg->mk_ptr(i), pkg->mk_ptr(i));
  EXPECT_EQ(pkg->mk_ptr(i), pkg->mk_ptr(i, 32, 32));
  EXPECT_NE(pkg->mk_ptr(i), pkg->mk_ptr(i, 16, 16));
  EXPECT_NE(pkg->mk_ptr(i), pkg->mk_ref(i));
  EXPECT_EQ(pkg->mk_array(i, 3), pkg->mk_array(i, 3));
  EXPECT_NE(pkg->mk_array(i, 4), pkg->mk_array(i, 3));
  EXPECT_NE(pkg->mk_array(i, 4), pkg->mk_vector(i, false, 4, 64, 16));
  EXPECT_EQ(pkg->mk_int(T::I_INT, true, 16, 16, false, true), i);
  EXPECT_EQ(typedef_of(i, "a"), typedef_of(i, "a"));
  EXPECT_NE(typedef_of(i, "a"), typedef_of(i, "b"));
  EXPECT_NE(pkg->mk_struct("s"), pkg->mk_struct("s"));
  EXPECT_NE(pkg->mk_enum("e", i, 16, 16), pkg->mk_enum("e", i, 16, 16));

  TYPE* p = pkg->mk_ptr(i);
  EXPECT_EQ(func(i, {{p, 0, "x"}}), func(i, {{p, 0, "x"}}));
  EXPECT_NE(func(i, {{p, 0, "x"}}), func(i, {{p, 0, "y"}}));
  EXPECT_NE(func(i, {{p, 0, "x"}}), func(i, {{i, 0, "x"}}));
  EXPECT_NE(func(i, {{p, 0, "x"}}), func(i, {}));
  // A name that spells the rest of a list is still a name.
  const std::string trick = "x," + std::to_string(p->uid) + ":0:1:y";
  EXPECT_NE(func(i, {{p, 0, "x"}, {p, 0, "y"}}), func(i, {{p, 0, trick.c_str()}}));

  TYPE* q = pkg->mk_qual(i, T::Q_CONST);
  EXPECT_EQ(pkg->mk_qual(q, T::Q_VOLATILE)->base, i);
  EXPECT_EQ(pkg->mk_qual(q, T::Q_CONST), q);
  q->frozen = true;
  EXPECT_NE(pkg->mk_qual(i, T::Q_CONST), q);
}

TEST_F(Types, ManyTypesOfOneBaseAndDeepChains) {
  const size_t before = tp_bytes_allocated();
  TYPE* i = basic(T::I_INT);
  for (int round = 0; round < 2; round++)
    for (unsigned long n = 1; n <= 100000; n++)
      pkg->mk_array(i, n);
  const size_t arrays = tp_bytes_allocated();
  EXPECT_EQ(arrays - before, 100000 * sizeof(TYPE));
  TYPE* deep = i;
  for (int n = 0; n < 200000; n++)
    deep = pkg->mk_ptr(deep);
  EXPECT_NE(deep->str().find("..."), std::string::npos);
  TYPE* layered = i;
  for (int n = 0; n < 200000; n++)
    layered = typedef_of(layered, "t");
  EXPECT_TRUE(layered->is_int());
  EXPECT_TRUE(compatible_types(layered, i));
  pkg.reset();
  EXPECT_EQ(tp_bytes_allocated(), 0u);
}

TEST_F(Types, ThreadsShareOneType) {
  constexpr unsigned long KINDS = 3000;
  constexpr size_t THREADS = 4;
  struct MADE {
    TYPE* pointers;
    std::vector<TYPE*> built, unnamed;
  };
  std::vector<MADE> results(THREADS);
  std::vector<std::thread> threads;
  std::atomic<size_t> waiting = THREADS; // so that all begin together
  for (size_t k = 0; k < THREADS; k++)
    threads.emplace_back([&, k] {
      MADE& made = results[k];
      for (waiting--; waiting;)
        std::this_thread::yield();
      made.built = {pkg->mk_vpred(), pkg->mk_unknown()};
      for (unsigned long n = 1; n <= KINDS; n++) {
        made.built.push_back(pkg->mk_struct_vector(32 * n, basic(T::I_LONG)));
        made.unnamed.push_back(pkg->mk_typedef(nullptr, false, basic(T::I_INT), 16, 16, false));
      }
      TYPE* t = basic(T::I_LONG);
      for (int n = 0; n < 500; n++)
        t = pkg->mk_ptr(pkg->mk_array(t->normalized_type(), 1));
      made.pointers = t;
    });
  for (std::thread& t : threads)
    t.join();
  std::set<TYPE*> names;
  for (const MADE& made : results) {
    EXPECT_EQ(made.pointers, results[0].pointers);
    EXPECT_EQ(made.built, results[0].built);
    names.insert(made.unnamed.begin(), made.unnamed.end());
  }
  EXPECT_EQ(names.size(), THREADS * KINDS); // one each
}

TEST_F(Types, CompatibleIsLooserThanExact) {
  TYPE* i = basic(T::I_INT);
  TYPE* alias = typedef_of(pkg->mk_qual(i, T::Q_CONST), "number");
  EXPECT_FALSE(exact_types(alias, i));
  EXPECT_TRUE(compatible_types(alias, i));
  EXPECT_TRUE(compatible_types(pkg->mk_ptr(alias), pkg->mk_ptr(i)));
  EXPECT_FALSE(compatible_types(pkg->mk_ptr(alias), pkg->mk_ptr(basic(T::I_LONG))));
  EXPECT_FALSE(compatible_types(basic(T::I_SHORT), i));
  EXPECT_TRUE(compatible_types(pkg->mk_array(i, 3), pkg->mk_array(i, 0, 0, 16, false, false)));
  EXPECT_FALSE(compatible_types(pkg->mk_array(i, 3), pkg->mk_array(i, 4)));
  TYPE* e = pkg->mk_enum("e", i, 16, 16);
  EXPECT_FALSE(compatible_types(e, i));
  EXPECT_TRUE(compatible_types(e, i, true));
  EXPECT_FALSE(compatible_types(pkg->mk_struct("s"), pkg->mk_struct("s")));
  EXPECT_TRUE(compatible_types(func(i, {{alias, 0, "a"}}), func(i, {{i, 0, "b"}})));
  EXPECT_FALSE(compatible_types(func(i, {{i, 0, ""}}), func(i, {})));

  // Doubling at every level: only remembering compared pairs ends this.
  TYPE *a = i, *b = alias;
  for (int level = 0; level < 60; level++) {
    a = func(i, {{a, 0, ""}, {a, 0, ""}});
    b = func(i, {{b, 0, ""}, {b, 0, ""}});
  }
  EXPECT_TRUE(compatible_types(a, b));
  EXPECT_LT(a->str().size(), 3000u);
}

TEST_F(Types, NormalisedByWidthAndSign) {
  EXPECT_EQ(basic(T::I_SHORT)->normalized_type(), basic(T::I_INT));
  EXPECT_EQ(basic(T::I_UCHAR)->normalized_type(), basic(T::I_UINT));
  EXPECT_EQ(basic(T::I_LONG)->normalized_type(), basic(T::I_LONG));
  EXPECT_EQ(typedef_of(basic(T::I_SCHAR), "c")->normalized_type(), basic(T::I_INT));
  EXPECT_NE(basic(T::I_BOOL)->normalized_type(), basic(T::I_UINT));
  // Where long long is no wider than long, it is long.
  EXPECT_EQ(pkg->mk_int(T::I_LLONG, true, 32, 32, false, true)->normalized_type(),
            basic(T::I_LONG));
  EXPECT_EQ(basic(T::I_ALIAS_LONG), basic(T::I_LONG));
}

TEST_F(Types, TargetWidthsKeepSharing) {
  EXPECT_EQ(basic(T::I_WCHAR)->size, 16u);
  TYPE_PKG::abi = 1;
  pkg->update_basic_types();
  pkg->normalize_basic_types();
  EXPECT_EQ(basic(T::I_WCHAR)->size, 32u);
  EXPECT_EQ(pkg->mk_fltpt(T::F_DOUBLE)->size, 64u);
  EXPECT_EQ(pkg->mk_int(T::I_WCHAR, false, 32, 32, false, false), basic(T::I_WCHAR));
  EXPECT_EQ(pkg->mk_fltpt(T::F_DOUBLE, 64, 32), pkg->mk_fltpt(T::F_DOUBLE));
  EXPECT_EQ(basic(T::I_WCHAR)->normalized_type(), basic(T::I_ULONG));
  TYPE_PKG::abi = 2;
}

TEST_F(Types, PromotionsAndConversions) {
  auto common = [&](int a, int b) { return pkg->c_usual_arith_conv(basic(a), basic(b)); };
  EXPECT_EQ(pkg->c_integral_promotions(basic(T::I_SCHAR)), basic(T::I_INT));
  EXPECT_EQ(pkg->c_integral_promotions(basic(T::I_UCHAR)), basic(T::I_UINT)); // as wide as int
  EXPECT_EQ(pkg->c_integral_promotions(basic(T::I_BOOL)), basic(T::I_INT));
  EXPECT_EQ(pkg->c_integral_promotions(pkg->mk_enum("e", basic(T::I_USHORT), 16, 16)),
            basic(T::I_UINT));
  EXPECT_EQ(common(T::I_INT, T::I_UINT), basic(T::I_UINT));
  EXPECT_EQ(common(T::I_UINT, T::I_LONG), basic(T::I_LONG));
  EXPECT_EQ(common(T::I_ULONG, T::I_LONG), basic(T::I_ULONG));
  EXPECT_EQ(common(T::I_LLONG, T::I_ULONG), basic(T::I_LLONG));
  EXPECT_EQ(common(T::I_ULLONG, 14), basic(14));
  EXPECT_EQ(common(16, 14), basic(16));
  // A long long as wide as unsigned long can't hold its values.
  TYPE* narrow = pkg->mk_int(T::I_LLONG, true, 32, 32, false, true);
  EXPECT_EQ(pkg->c_usual_arith_conv(narrow, basic(T::I_ULONG)),
            pkg->mk_int(T::I_ULLONG, false, 32, 32, false, false));
  EXPECT_EQ(pkg->c_usual_arith_conv(pkg->mk_complex(basic(14)), basic(16)),
            pkg->mk_complex(basic(16)));
}

TEST_F(Types, SignChangesRebuildTheLayers) {
  TYPE* t = pkg->mk_qual(typedef_of(basic(T::I_LONG), "word"), T::Q_VOLATILE);
  TYPE* u = pkg->mk_unsigned(t);
  EXPECT_EQ(u->underlying_type(), basic(T::I_ULONG));
  EXPECT_TRUE(u->is_volatile());
  EXPECT_EQ(u->base->kind, T::K_TYPEDEF);
  EXPECT_EQ(pkg->mk_signed(u)->underlying_type(), basic(T::I_LONG));
  EXPECT_EQ(pkg->mk_signed(t), t);
  EXPECT_EQ(pkg->mk_signed(basic(T::I_WCHAR)), basic(T::I_SHORT));
}

TEST_F(Types, Qualifiers) {
  TYPE* t = pkg->mk_qual(typedef_of(pkg->mk_qual(basic(T::I_INT), T::Q_CONST), "k"), T::Q_VOLATILE);
  EXPECT_EQ(t->qual_kind(false), T::Q_VOLATILE);
  EXPECT_EQ(t->qual_kind(true), T::Q_CONST | T::Q_VOLATILE);
  EXPECT_EQ(t->type_qualified(), pkg->mk_qual(basic(T::I_INT), T::Q_CONST | T::Q_VOLATILE));
  EXPECT_EQ(pkg->remove_known_qual(t, T::Q_CONST), pkg->mk_qual(basic(T::I_INT), T::Q_VOLATILE));
  EXPECT_EQ(pkg->remove_known_qual(t, T::Q_RESTRICT), t);
}

TEST_F(Types, VectorsAndBuiltStructures) {
  TYPE* lanes = pkg->mk_bool_vector(8);
  EXPECT_TRUE(lanes->is_vector() && !lanes->is_array());
  EXPECT_TRUE(lanes->array_parts()->is_bool_vector);
  EXPECT_EQ(lanes->size, 64u);
  EXPECT_EQ(lanes, pkg->mk_bool_vector(8));
  EXPECT_EXIT(pkg->mk_bool_vector(1), testing::ExitedWithCode(1), "");
  TYPE* v = pkg->mk_vpred();
  EXPECT_EQ(v, pkg->mk_vpred());
  EXPECT_EQ(v->str(), "struct __ld_vpred_tp");
  EXPECT_EQ(v->csu_parts()->members.at(0)->type->str(), "unsigned long long[1]");
  TYPE* s = pkg->mk_struct_vector(128, basic(14));
  EXPECT_EQ(s, pkg->mk_struct_vector(128, basic(14)));
  EXPECT_EQ(s->csu_parts()->members.at(0)->type->array_parts()->count, 4u);
  EXPECT_EQ(pkg->replace_array_elem(pkg->mk_array(basic(T::I_INT), 5), basic(T::I_LLONG)),
            pkg->mk_array(basic(T::I_LLONG), 5));
}

TEST_F(Types, Spelling) {
  TYPE* i = basic(T::I_INT);
  EXPECT_EQ(pkg->mk_qual(pkg->mk_ptr(pkg->mk_qual(i, T::Q_CONST)), T::Q_RESTRICT)->str(),
            "const int *restrict");
  EXPECT_EQ(pkg->mk_ptr(pkg->mk_array(i, 3))->str(), "int (*)[3]");
  EXPECT_EQ(pkg->mk_ptr(func(i, {{i, 0, "a"}, {pkg->mk_void_ptr(), 0, ""}}))->str(),
            "int (*)(int, void *)");
  EXPECT_EQ(pkg->mk_array(pkg->mk_array(i, 3), 2)->str(), "int[2][3]");
  EXPECT_EQ(pkg->mk_typedef(nullptr, false, i, 16, 16, false)->str(), "$$fake0");
}

TEST_F(Types, MisuseDies) {
  auto exit_1 = testing::ExitedWithCode(1);
  TYPE* f = basic(14);
  EXPECT_EXIT(pkg->mk_int(static_cast<T::IKIND>(14)), exit_1,
              "^TP>> internal error: Bad kind: TYPE_PKG::mk_int\n");
  EXPECT_EXIT(pkg->mk_fltpt(static_cast<T::FKIND>(3)), exit_1,
              "Bad fltpt_kind: TYPE_PKG::mk_fltpt");
  EXPECT_EXIT(f->elem_type(), exit_1, "Bad kind:  TYPE::elem_type\\(\\)");
  EXPECT_EXIT(f->getr(9), exit_1, "Bad kind:  TYPE::getr\\(\\)");
  EXPECT_EXIT(pkg->mk_unsigned(f), exit_1, "Bad kind: TYPE_PKG::mk_unsigned\\(\\)");
  EXPECT_EXIT(pkg->mk_complex(pkg->mk_ptr(f)), exit_1, "Bad complex part_type");
  EXPECT_EXIT(T(static_cast<T::KIND>(T::K_UNKNOWN + 1)), exit_1,
              "Bad type kind:  TYPE::TYPE\\(KIND\\)");
  pkg->mk_ptr(f);
  EXPECT_EXIT(pkg->delete_type_tree(f, false, true), exit_1, "Nonrecusive type tree delete");
}

TEST_F(Types, DeletedTypesAreMadeAnew) {
  TYPE* s = pkg->mk_struct("s");
  pkg->mk_ptr(pkg->mk_array(pkg->mk_ptr(s), 2));
  const unsigned old = pkg->mk_ptr(s)->uid;
  pkg->delete_type_tree(pkg->mk_ptr(s), true, true);
  EXPECT_NE(pkg->mk_ptr(s)->uid, old);
  pkg->delete_type_tree(s, true, true);
}

TEST_F(Types, ValuesUnderTypes) {
  TYPE *i = basic(T::I_INT), *u = basic(T::I_UINT), *ull = basic(T::I_ULLONG);
  EXPECT_EQ(truncate_to_type(0x18000, i), -0x8000);
  EXPECT_EQ(truncate_to_type(-1, u), 0xFFFF);
  EXPECT_EQ(truncate_to_type(-1, ull), INT65::max());
  EXPECT_EQ(truncate_to_type(INT65::max(), basic(T::I_LLONG)), -1);
  EXPECT_EQ(int_type_min(basic(T::I_LLONG)), INT65(INT64_MIN));
  EXPECT_EQ(int_type_max(ull), INT65::max());
  EXPECT_EQ(int_type_max(basic(T::I_BOOL)), 1);
  EXPECT_EQ(wide_enough_int_type(32767), i);
  EXPECT_EQ(wide_enough_int_type(32768), u);
  EXPECT_EQ(wide_enough_int_type(-32769), basic(T::I_LONG));
  EXPECT_EQ(wide_enough_int_type(INT65::max()), ull);
  EXPECT_EQ(wide_enough_int_type(INT65::min()), nullptr);
  EXPECT_EXIT(truncate_to_type(1, basic(14)), testing::ExitedWithCode(1), "");
  simul_fval v;
  f_atof("0.1", &v);
  EXPECT_EQ(truncate_fval_to_target(&v, basic(14)), 0);
  EXPECT_EQ(f_hex_text(&v), "0x1.99999ap-4");
}

TEST(Pbset, MembersInAnyOrder) {
  PBSET* set = make_PBSET(0, 0);
  EXPECT_EQ(set->max_element, 15);
  EXPECT_EQ(set->capacity, 16);
  EXPECT_EQ(next_element_in_PBSET(-1, set), -1);
  for (int e : {40, 3, 65535, 0, 17, 3})
    add_element_to_PBSET(e, set);
  EXPECT_EQ(set->count, 5);
  std::vector<int> order;
  for (int e = next_element_in_PBSET(-1, set); e >= 0; e = next_element_in_PBSET(e, set))
    order.push_back(e);
  EXPECT_EQ(order, (std::vector<int>{0, 3, 17, 40, 65535}));
  remove_element_from_PBSET(17, set);
  remove_element_from_PBSET(18, set);
  EXPECT_FALSE(element_is_in_PBSET(17, set));
  EXPECT_FALSE(element_is_in_PBSET(-1, set) || element_is_in_PBSET(1 << 20, set));
  EXPECT_EQ(next_element_in_PBSET(3, set), 40);
  make_PBSET_empty(set);
  EXPECT_EQ(another_element_in_PBSET(0, set), -1);
  for (int e = 0; e < 1000; e++)
    add_element_to_PBSET(e, set);
  EXPECT_EQ(set->count, 1000);
  erase_PBSET(set);
}
