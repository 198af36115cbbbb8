# Doxygen takes a backslash before the closing backtick for an escaped backtick, and a quotation mark
# that stands alone for the beginning of a text. In <code> each backslash is written twice.
s/`\\\\`/<code>\\\\\\\\<\/code>/g
s/`\\"`/<code>\\\\\&quot;<\/code>/g
