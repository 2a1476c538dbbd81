#!/usr/bin/env bash
# Runs the marl tool on small documents and checks what it prints and how it exits.
set -u
marl="$1"
data="$2"
work="$3"
rm -rf "$work"
mkdir -p "$work"

passed=0
failed=0

# expect NAME EXPECTED_EXIT EXPECTED_STDOUT_FILE_OR_- COMMAND...
expect() {
  local name="$1" wanted_exit="$2" wanted_out="$3"
  shift 3
  local out="$work/$name.out" err="$work/$name.err"
  "$@" >"$out" 2>"$err" </dev/null
  local code=$?
  local ok=1
  if [ "$code" != "$wanted_exit" ]; then
    echo "FAIL $name: exit $code, wanted $wanted_exit"; cat "$err"; ok=0
  fi
  if [ "$wanted_out" != "-" ] && ! diff -u "$wanted_out" "$out"; then
    echo "FAIL $name: unexpected output"; ok=0
  fi
  if [ $ok = 1 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}

# expect_grep NAME FILE PATTERN: the captured stdout or stderr holds the pattern.
expect_grep() {
  local name="$1" file="$2" pattern="$3"
  if grep -q -- "$pattern" "$file"; then passed=$((passed + 1)); else
    echo "FAIL $name: '$pattern' not found in $file:"; cat "$file"; failed=$((failed + 1)); fi
}

printf '' >"$work/empty"

expect check_good 0 "$work/empty" "$marl" check "$data/good.xml"

echo "$data/mismatch.xml:3:6: error 3002: end tag 'b' does not match begin tag 'a'" >"$work/mismatch.want"
expect check_mismatch 1 "$work/mismatch.want" "$marl" check "$data/mismatch.xml"

echo "$data/mismatch.xml:2:7: error 3002: end tag 'b' does not match begin tag 'a'" >"$work/raw.want"
expect check_raw_positions 1 "$work/raw.want" "$marl" check --raw-positions "$data/mismatch.xml"

expect check_several 1 - "$marl" check "$data/good.xml" "$data/mismatch.xml"
expect_grep check_several_names "$work/check_several.out" "mismatch.xml:3:6"

expect check_truncated 1 - "$marl" check "$data/truncated.xml"
expect_grep check_truncated_reports "$work/check_truncated.out" "truncated.xml:"

expect check_missing_file 2 "$work/empty" "$marl" check "$work/no-such-file.xml"
expect_grep check_missing_file_says "$work/check_missing_file.err" "cannot read"

expect check_stdin 0 "$work/empty" bash -c "\"$marl\" check - < \"$data/good.xml\""
expect check_stdin_names_it 1 - bash -c "\"$marl\" check - < \"$data/mismatch.xml\""
expect_grep check_stdin_position "$work/check_stdin_names_it.out" "^-:3:6: error 3002"

printf '\xff\xfe\x3c' >"$work/odd-utf16.xml"
expect check_undecodable 2 - "$marl" check "$work/odd-utf16.xml"
expect_grep check_undecodable_says "$work/check_undecodable.err" "cannot be decoded"

expect check_no_file 2 - "$marl" check
expect unknown_command 2 - "$marl" frobnicate
expect unknown_option 2 - "$marl" check --frobnicate "$data/good.xml"
expect bad_namespace_mode 2 - "$marl" check --namespaces 7 "$data/good.xml"
expect no_arguments 2 - "$marl"

expect help 0 - "$marl" --help
expect_grep help_lists_commands "$work/help.out" "check FILE"
expect check_help 0 - "$marl" check --help
expect_grep check_help_says "$work/check_help.out" "usage: marl check"
expect render_help 0 - "$marl" render --help
expect find_help 0 - "$marl" find --help
expect version 0 - "$marl" --version
expect_grep version_says "$work/version.out" "^marl "

cat >"$work/render.want" <<'XML'
<?xml version="1.0" encoding="utf-8"?><root xmlns:p="urn:p"><p:item id="1">one &amp; two</p:item><item id="2"/></root>
XML
printf '%s' "$(cat "$work/render.want")" >"$work/render.want"
expect render_plain 0 "$work/render.want" "$marl" render "$data/good.xml"

cat >"$work/pretty.want" <<'XML'
<?xml version="1.0" encoding="utf-8"?>
<root xmlns:p="urn:p">
 <p:item id="1">one &amp; two</p:item>
 <item id="2"/>
</root>
XML
expect render_pretty 0 "$work/pretty.want" "$marl" render --pretty "$data/good.xml"

expect render_no_declaration 0 - "$marl" render --no-declaration "$data/good.xml"
expect_grep render_no_declaration_starts "$work/render_no_declaration.out" "^<root"

expect render_to_file 0 "$work/empty" "$marl" render -o "$work/written.xml" "$data/good.xml"
expect_grep render_to_file_wrote "$work/written.xml" "<p:item id=\"1\">"

expect render_utf16 0 - "$marl" render --encoding utf-16 "$data/good.xml"
if [ "$(head -c 2 "$work/render_utf16.out" | od -An -tx1 | tr -d ' ')" = "fffe" ]; then
  passed=$((passed + 1)); else echo "FAIL render_utf16 writes no byte order mark"; failed=$((failed + 1)); fi

expect render_broken 1 "$work/empty" "$marl" render "$data/mismatch.xml"
expect_grep render_broken_says "$work/render_broken.err" "error 3002"

printf '<p:item id="1">one &amp; two</p:item>\n' >"$work/find.want"
expect find_item 0 "$work/find.want" "$marl" find "$data/good.xml" "/root/p:item"
expect find_nothing 1 "$work/empty" "$marl" find "$data/good.xml" "/root/none"
expect find_usage 2 - "$marl" find "$data/good.xml"

expect keep_whitespace 0 - "$marl" render --keep-whitespace "$data/good.xml"
expect_grep keep_whitespace_keeps "$work/keep_whitespace.out" "<root xmlns:p=\"urn:p\">$"

expect namespaces_checked 1 - "$marl" check --namespaces 3 "$data/warning_free_unbound.xml"
expect namespaces_unchecked 0 "$work/empty" "$marl" check --namespaces 1 "$data/warning_free_unbound.xml"
expect mode_noref 0 - "$marl" check --mode noref "$data/good.xml"
expect bad_mode 2 - "$marl" check --mode html "$data/good.xml"
expect entity_refs_node 0 - "$marl" check --entity-refs=node "$data/good.xml"
expect bad_entity_refs 2 - "$marl" check --entity-refs=maybe "$data/good.xml"
expect trace 1 - "$marl" check --trace 2 "$data/mismatch.xml"
expect_grep trace_on_stderr "$work/trace.err" "marl parser"

mkdir -p "$work/dtd/sub"
printf '<!ATTLIST a d CDATA "given"><!ENTITY x "ext">\n' >"$work/dtd/sub/a.dtd"
printf '<!DOCTYPE a SYSTEM "sub/a.dtd" [<!ENTITY i "in">]><a>&i;</a>' >"$work/dtd/doc.xml"
expect dtd_plain 0 - "$marl" render --no-declaration "$work/dtd/doc.xml"
expect_grep dtd_plain_keeps_internal "$work/dtd_plain.out" '<!ENTITY i "in">'
expect_grep dtd_plain_no_default "$work/dtd_plain.out" '<a>in</a>'
expect supply_defaults 0 - "$marl" render --supply-defaults "$work/dtd/doc.xml"
if grep -q 'ATTLIST' "$work/supply_defaults.out"; then
  echo "FAIL supply_defaults writes the external subset"; failed=$((failed + 1)); else passed=$((passed + 1)); fi
expect render_expand 0 - "$marl" render --expand "$work/dtd/doc.xml"
expect_grep render_expand_writes_external "$work/render_expand.out" '<!ATTLIST a'
expect restricted 0 - "$marl" check --restricted "$work/dtd/doc.xml"
expect_grep restricted_warns "$work/restricted.out" "warning 3013: unable to retrieve external entity 'sub/a.dtd'"
printf '<!DOCTYPE a [<!ENTITY e0 "lol"><!ENTITY e1 "&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;"><!ENTITY e2 "&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;"><!ENTITY e3 "&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;"><!ENTITY e4 "&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;"><!ENTITY e5 "&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;"><!ENTITY e6 "&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;"><!ENTITY e7 "&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;"><!ENTITY e8 "&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;">]><a>&e8;</a>' >"$work/dtd/bomb.xml"
expect restricted_bomb 1 - "$marl" check --restricted --max-expansion 2 "$work/dtd/bomb.xml"
expect_grep restricted_bomb_says "$work/restricted_bomb.out" "error 4003: XML expansion exceeds Marl configuration"
expect bad_max_expansion 2 - "$marl" check --restricted --max-expansion lots "$work/dtd/doc.xml"
expect no_dtd 1 - "$marl" check --no-dtd "$work/dtd/doc.xml"
expect_grep no_dtd_says "$work/no_dtd.out" "error 4003: Marl configuration has prohibited the usage of DTDs"

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
