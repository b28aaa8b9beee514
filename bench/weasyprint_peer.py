"""Makes a PDF of a page of HTML by WeasyPrint: weasyprint_peer.py FILE.

Prints the seconds of processor time that it took, without loading the library, and the bytes of the PDF.
"""

import sys
import time

import weasyprint

begin = time.process_time()
pdf = weasyprint.HTML(sys.argv[1]).write_pdf()
print(time.process_time() - begin, len(pdf))
