#pragma once

#include "mox/foundation/record_set.h"

namespace mox {

// One calculator for each kind of trade document: it fills the calculated fields of the current line, in the
// order that is part of its rule, because later steps read what earlier ones stored. Names end in
// StavkeCalcFields for lines of goods and UslugeCalcFields or UslugaCalcFields for lines of services. Screens
// call them from the calculate-fields event of the line record set.
//
// d is the number of decimals of tax amounts, GetPdviCalcDigit(); unless a calculator says otherwise it is
// raised to at least 2. The steps stand in the definitions. Errors are those of the line formulas; a zero
// quantity raises DivisionByZero where a calculator divides by it without a test. Fields written before an
// error keep what was written.

// --- stock: purchase and wholesale amounts and the margin between them ---

/// Retail goods receipt (stock charge).
void MalPrimkaZaduzenjeStavkeCalcFields(RecordSet& lines);
/// Stock discharge: write-off.
void RazduzenjeOtpisStavkeCalcFields(RecordSet& lines);
/// Transfer between warehouses, receiving side.
void MeduskladisnicaUlazSetData(RecordSet& lines);
/// Transfer between warehouses, issuing side.
void MeduskladisnicaIzlazStavkeCalcFields(RecordSet& lines);
/// Opening stock.
void PocetnoStanjeStavkeCalcFields(RecordSet& lines);
/// Stock discharge: shortage, with tax and total.
void RazduzenjeManjakStavkeCalcFields(RecordSet& lines, int d);
/// Price change.
void IzmjenaCijenaStavkeCalcFields(RecordSet& lines);

// --- returns and own use ---

/// Return to supplier (wholesale). Here marp is a percent of the wholesale amount; with vpci 0 it is kept.
void PovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d);
/// Return to supplier from a retail shop. Tax at supplier prices always has two decimals.
void MalPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d);
/// Return of materials to supplier. nfci takes the fee amount stored before this pass, on purpose.
void MatPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d);
/// Return from customer.
void PovratnicaKupcaStavkeCalcFields(RecordSet& lines, int d);
/// Invoice for the company's own use; nothing is touched at quantity 0.
void RacunVlastitePotrebeStavkeCalcFields(RecordSet& lines, int d);

// --- net-priced invoices: discounts, base, tax on top ---

/// Pro-forma invoice.
void PredracunStavkeCalcFields(RecordSet& lines, int d);
void PredracunUslugeCalcFields(RecordSet& lines, int d);
/// Invoice from delivery notes.
void OtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d);
void OtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d);
/// Cancellation of such an invoice.
void StornoOtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d);
void StornoOtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d);
/// Invoice for services.
void RacunUslugaCalcFields(RecordSet& lines, int d);
/// Invoice for services to a foreign customer.
void RacunUslugaInozemstvoCalcFields(RecordSet& lines, int d);
/// Non-cash invoice of a service job: labour, material.
void BezGotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d);
void BezGotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d);

// --- cash invoices: net discounts, but the customer pays a rounded gross unit price times the quantity ---

/// Cash invoice, goods. The unit gross price has the configured decimals of selling prices; the third
/// discount absorbs the difference between the net amount and the base that follows from the gross total.
/// Nothing is touched at quantity 0.
void GotovinskiRacunStavkeCalcFields(RecordSet& lines, int d);
/// Cash invoice, services: no fee, and the unit gross price in hundredths.
void GotovinskiRacunUslugeCalcFields(RecordSet& lines, int d);
/// Cancellation of a cash invoice. Quantity 0 raises DivisionByZero.
void StornoGotovinskiRacunStavkeCalcFields(RecordSet& lines, int d);
/// Cash invoice for services priced gross.
void GotovinskiRacunUslugaCalcFields(RecordSet& lines, int d);
/// Cash invoice for marina services, with a second price column whose tax always has two decimals.
void GotovinskiRacunUslugaMarinaCalcFields(RecordSet& lines, int d);
/// Cash invoice of a service job: labour; material. The base of the material lines is taken with the tax
/// stored before this pass, on purpose.
void GotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d);
void GotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d);
/// Retail cash invoice: goods; services.
void MalGotovinskiRacunCalcFields(RecordSet& lines, int d);
void MalGotovinskiRacunCalcUsluge(RecordSet& lines, int d);

// --- the rest ---

/// Work order, material lines. d is used as passed.
void RadniNalogStavkeCalcFields(RecordSet& lines, int d);
/// Work order, labour lines. d is used as passed; quantity 0 raises DivisionByZero.
void RadniNalogUslugeCalcFields(RecordSet& lines, int d);
/// Retail daily cash report.
void MalDnevniIzvBlagCalcFields(RecordSet& lines, int d);
/// Goods receipt costing, invoice side.
void PrimkaKalkulacija01CalcFields(RecordSet& lines);
/// Cancellation of a goods receipt costing. purchase_price_decimals is used as passed; wholesale_digits is
/// raised to at least 2.
void StornoPrimkeKalkulacijeCalcFields(RecordSet& lines, int purchase_price_decimals, int wholesale_digits);

}  // namespace mox
