void main() { /* N.comp */ }
