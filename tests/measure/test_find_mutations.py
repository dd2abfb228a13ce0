import unittest

from cpp_tokens import tokens
from find_mutations import find_mutations


def changed(source: str, operator: str) -> list[str]:
    """What an operator makes of the source."""
    return [mutation.apply(source) for mutation in find_mutations('a.cpp', source) if mutation.change.operator == operator]


def in_function(statements: str) -> str:
    return f'void f() {{ {statements} }}'


class Tokens(unittest.TestCase):
    def test_comments_and_preprocessor_lines_are_no_tokens(self):
        source = '#define A \\\n 1\n/* 2\n */ int a; // 3\n#include <b>\nint c;'
        self.assertEqual([token.text for token in tokens(source)], ['int', 'a', ';', 'int', 'c', ';'])

    def test_text_is_one_token_whatever_is_in_it(self):
        self.assertEqual([token.text for token in tokens(r'f(L"a // \" b", '"'\\'')")],
                         ['f', '(', r'L"a // \" b"', ',', "'\\''", ')'])

    def test_longest_sign_wins(self):
        self.assertEqual([token.text for token in tokens('a->b <<= c::d')], ['a', '->', 'b', '<<=', 'c', '::', 'd'])

    def test_binary_operators_are_known_by_the_space_around_them(self):
        spaced = [token.text for token in tokens('A<int>& a = b & *c < d;') if token.spaced and token.kind == 'sign']
        self.assertEqual(spaced, ['=', '&', '<'])


class TokenChanges(unittest.TestCase):
    def test_constant_moves_to_both_sides(self):
        self.assertEqual(changed('int a = 25U;', 'constant'), ['int a = 26U;', 'int a = 24U;'])
        self.assertEqual(changed('int a = 0;', 'constant'), ['int a = 1;'])
        self.assertEqual(changed('int a = 0xFF;', 'constant'), ['int a = 0x100;', 'int a = 0xfe;'])

    def test_function_without_a_body_stays_one(self):
        self.assertEqual(changed('virtual int f() const = 0; int a = 0;', 'constant'), ['virtual int f() const = 0; int a = 1;'])

    def test_floating_point_is_left_alone(self):
        self.assertEqual(changed('double a = 1.5;', 'constant'), [])

    def test_limit_moves_and_turns(self):
        self.assertEqual(changed('bool a = b < c;', 'comparison'), ['bool a = b <= c;', 'bool a = b >= c;'])

    def test_brackets_of_templates_are_no_comparisons(self):
        self.assertEqual(changed('std::array<std::uint32_t, kCount> a;', 'comparison'), [])

    def test_address_and_pointer_are_no_arithmetic(self):
        self.assertEqual(changed('void f(const int& a, int* b) { g(&a, *b); }', 'arithmetic'), [])

    def test_member_of_an_enumeration_only_behind_its_name(self):
        self.assertEqual(changed('a = LogLevel::Error; b = Error();', 'name'), ['a = LogLevel::Warning; b = Error();'])

    def test_name_at_its_definition_stays(self):
        self.assertEqual(changed('constexpr int kSlowPass = 40;', 'name'), [])

    def test_flag_is_left_out_on_either_side(self):
        self.assertEqual(changed('f(A_B | C_D);', 'flag'), ['f(C_D);', 'f(A_B);'])

    def test_constant_of_the_platform_becomes_0_or_1(self):
        self.assertEqual(changed('f(DSBPLAY_LOOPING);', 'name'), ['f(0);'])
        self.assertEqual(changed('return a == WAIT_OBJECT_0;', 'name'), ['return a == 1;'])
        self.assertEqual(changed('f(DSBCAPS_A | DSBCAPS_B);', 'name'), [])

    def test_branches_change_places(self):
        self.assertEqual(changed('return a ? f(b, c) : D::e;', 'branches'), ['return a ? D::e : f(b, c);'])
        self.assertEqual(changed('f(a ? b : c, d);', 'branches'), ['f(a ? c : b, d);'])

    def test_operator_functions_are_left_alone(self):
        self.assertEqual(find_mutations('a.h', 'A& operator=(const A&); bool operator==(const A&);'), [])

    def test_static_assertions_are_left_alone(self):
        self.assertEqual(find_mutations('a.cpp', 'static_assert(sizeof(A) == 16 && kExtra == 22);'), [])


class StatementChanges(unittest.TestCase):
    def test_calls_assignments_jumps_and_locks_are_dropped(self):
        for statement in ('f(1)', 'a.b->c()', 'a = b', '*a.b = c', '++a', 'continue', 'throw E()', 'delete a',
                          'const std::lock_guard guard(m_Lock)'):
            self.assertEqual(changed(in_function(statement + ';'), 'dropped'), [in_function(';')], statement)

    def test_declarations_and_returns_are_kept(self):
        for statement in ('int a = b;', 'A::B a(1);', 'const auto a = f();', 'std::vector<int> a(1);', 'A& a = b();',
                          'A* a = f();', 'return f();', 'for (a = 0; f(a);) {}'):
            self.assertEqual(changed(in_function(statement), 'dropped'), [], statement)

    def test_early_exit_is_dropped_and_the_last_return_kept(self):
        self.assertEqual(changed(in_function('if (a) return; return;'), 'dropped'), [in_function('if (a) ; return;')])
        self.assertEqual(changed(in_function('for (;;) { return f(1); }'), 'dropped'), [in_function('for (;;) { ; }')])
        self.assertEqual(changed(in_function('if (a) b([] { return; });'), 'dropped'), [in_function('if (a) ;')])

    def test_call_that_begins_a_value_is_dropped(self):
        self.assertEqual(changed(in_function('const A::B a = b->f(1);'), 'dropped'), [in_function('const A::B a = {};')])

    def test_declarations_of_functions_are_kept(self):
        source = 'class A : public B { public: A(); ~A(); A(const A&) = delete; A(int a); void f(); [[nodiscard]] bool g() const; };'
        self.assertEqual(changed(source, 'dropped'), [])

    def test_body_without_braces_is_dropped(self):
        self.assertEqual(changed(in_function('if (a) f();'), 'dropped'), [in_function('if (a) ;')])

    def test_statement_inside_a_lambda_is_found(self):
        self.assertEqual(changed(in_function('return g([&] { f(); });'), 'dropped'), [in_function('return g([&] { ; });')])

    def test_calls_side_by_side_change_places(self):
        self.assertEqual(changed(in_function('f(); g();'), 'swapped'), [in_function('g(); f();')])

        self.assertEqual(changed(in_function('a = b; g();'), 'swapped'), [in_function('g(); a = b;')])
        self.assertEqual(changed(in_function('a = b; c = d;'), 'swapped'), [])

    def test_call_changes_places_with_the_question_behind_it(self):
        self.assertEqual(changed(in_function('f(); if (g()) return;'), 'swapped'), [in_function('if (g()) return; f();')])
        self.assertEqual(changed(in_function('f(); if (g()) { h(); }'), 'swapped'), [in_function('if (g()) { h(); } f();')])
        self.assertEqual(changed(in_function('f(); if (g()) h(); else i();'), 'swapped'), [])
        self.assertEqual(changed(in_function('f(); if (a) return;'), 'swapped'), [])

    def test_what_is_not_side_by_side_keeps_its_place(self):
        self.assertEqual(changed(in_function('f(); int a = 1; g();'), 'swapped'), [])
        self.assertEqual(changed(in_function('if (a) f(); g();'), 'swapped'), [])

    def test_condition_is_turned_round(self):
        self.assertEqual(changed(in_function('if (f(a)) g();'), 'condition'), [in_function('if (!(f(a))) g();')])
        self.assertEqual(changed(in_function('if (const A a = f(); a.b()) g();'), 'condition'),
                         [in_function('if (const A a = f(); !(a.b())) g();')])

    def test_condition_that_another_operator_turns_is_not_turned_twice(self):
        for condition in ('a == b', '!a', 'FAILED(hr)', 'A a = f()'):
            self.assertEqual(changed(in_function(f'if ({condition}) g();'), 'condition'), [], condition)


class Keys(unittest.TestCase):
    def test_key_survives_a_move_and_occurrences_are_counted(self):
        source = 'int a = 7;\nint b = 1;\nint b = 1;\n'
        here = [mutation for mutation in find_mutations('a.cpp', source) if '1 -> 2' in mutation.key]
        moved = [mutation for mutation in find_mutations('a.cpp', '\n\n' + source) if '1 -> 2' in mutation.key]
        self.assertEqual([mutation.key for mutation in here], ['a.cpp | constant: 1 -> 2 | int b = 1;'] * 2)
        self.assertEqual([mutation.identity for mutation in here], [mutation.identity for mutation in moved])
        self.assertEqual(len({mutation.identity for mutation in here}), 2)


if __name__ == '__main__':
    unittest.main()
