# SPDX-License-Identifier: MIT
# Input filter of the API reference for the Markdown pages (README.md, docs/*.md, bench/):
# rewrites the few constructs that GitHub renders correctly but Doxygen 1.9.4 does not, so
# the pages stay plain GitHub Markdown. Lines are never added or removed, so Doxygen's
# line numbers stay right. Used through FILTER_PATTERNS in docs/Doxyfile.in.

# A leading one-line comment (the licence tag) would keep Doxygen from taking the first
# heading as the page title.
1s/^<!--.*-->$//

# Fenced code blocks are left alone.
/^[[:space:]]*```/,/^[[:space:]]*```/b

# Doxygen replaces $(NAME) by the environment variable NAME, even in a code span, and a
# backslash does not escape inside one: such a span becomes <tt>, where \$ does.
s/`\$(\([A-Za-z0-9_]*\))`/<tt>\\$(\1)<\/tt>/g

# In a table cell GitHub reads \| in a code span as |; Doxygen shows the backslash. In <tt>
# Doxygen reads \| as an escaped |, and the cell is not split there.
/^|/s/`\([^`]*\\|[^`]*\)`/<tt>\1<\/tt>/g

# A code span "\" makes Doxygen read the quotes as a string that swallows the end of the
# span when a table follows; HTML entities keep it a span.
s/`"\\"`/`\&quot;\\\&quot;`/g
