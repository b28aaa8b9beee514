-- Partners and articles are found by a part of any of their texts.
CREATE SEARCH INDEX par_trazi ON par;
CREATE SEARCH INDEX art_trazi ON art;
